#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// A static library in the common `ar` format: 60-byte member headers, a "/" symbol
// index (or "/SYM64/" for archives past 4 GiB) and a "//" table of long member names.
class ArArchive {
public:
    struct Member {
        uint64_t headerOffset = 0; // from the start of the archive
        std::string name;
        const uint8_t* data = nullptr;
        uint64_t size = 0;
    };
    struct IndexEntry {
        std::string_view name; // inside the archive image
        uint64_t memberOffset = 0;
    };

    static bool isArchive(const uint8_t* image, uint64_t size);

    // Splits the image into members; the image must outlive the archive. On a bad
    // member name returns false with the message in `error` (newline included).
    bool parse(const uint8_t* image, uint64_t size, std::string* error);

    // The symbol index sorted by name (entries of equal names keep their order).
    const std::vector<IndexEntry>& index() const { return index_; }
    // Members in archive order, that is by ascending header offset.
    const std::vector<Member>& members() const { return members_; }

private:
    void readIndex(const uint8_t* data, uint64_t size, bool wide);

    std::vector<IndexEntry> index_;
    std::vector<Member> members_;
};
