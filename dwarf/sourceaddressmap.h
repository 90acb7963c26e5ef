#pragma once
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// Which source line holds an address, and per source file the lines and their
// addresses: gathered from the line programs of all units of a file.
class SourceAddressMap {
public:
    virtual ~SourceAddressMap() = default;

    struct AddressEntry {
        uint64_t address;
        int32_t line;
        uint32_t file; // index into files()
    };
    struct LineEntry {
        int32_t line;
        uint64_t address;
    };
    struct SourceFile {
        std::string name;
        std::vector<LineEntry> lines; // in the order the rows arrived
    };
    struct Match {
        std::string_view file;
        int32_t line;
        uint64_t low, high; // the addresses the row covers, both included
    };

    // A row of a line program (the address already moved by the load offset).
    void add(std::string_view file, int32_t line, uint64_t address);
    // The row covering `address` within [lowest, highest].
    std::optional<Match> lookup(uint64_t address, uint64_t lowest, uint64_t highest) const;
    // "Addresses:" then "Sources:", as the -dwarf dump prints them.
    void print(FILE* out) const;

    const std::vector<AddressEntry>& addresses() const;
    const std::vector<SourceFile>& files() const { return files_; }

private:
    mutable std::vector<AddressEntry> addresses_;
    mutable bool sorted_ = true;
    std::vector<SourceFile> files_;
    // Last file looked up, since consecutive rows nearly always share it.
    uint32_t lastFile_ = UINT32_MAX;
    // The other files by name: a whole program has thousands, and inlined code
    // switches between them every few rows.
    struct NameHash {
        using is_transparent = void;
        size_t operator()(std::string_view s) const { return std::hash<std::string_view>()(s); }
    };
    std::unordered_map<std::string, uint32_t, NameHash, std::equal_to<>> fileIndex_;
};
