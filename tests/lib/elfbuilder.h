#pragma once
// Writes small ELF images for the tests, field by field from the ELF layout tables,
// independently of the reader under test.
#include <cstdint>
#include <string>
#include <vector>

struct TestSection {
    std::string name;
    uint32_t type = 1;
    uint64_t flags = 0;
    uint64_t addr = 0;
    std::vector<uint8_t> data;
    uint32_t link = 0;
    uint32_t info = 0;
    uint64_t align = 1;
    uint64_t entsize = 0;
    uint64_t nobitsSize = 0; // sh_size of an SHT_NOBITS section
};

struct TestSymbol {
    std::string name;
    uint64_t value = 0;
    uint64_t size = 0;
    uint8_t info = 0;
    uint8_t other = 0;
    uint16_t shndx = 0;
};

struct TestProgram {
    uint32_t type = 1;
    uint32_t flags = 0;
    uint64_t offset = 0;
    uint64_t vaddr = 0;
    uint64_t paddr = 0;
    uint64_t filesz = 0;
    uint64_t memsz = 0;
    uint64_t align = 0;
    int fromSection = 0; // when set, p_offset is that section's file offset
};

class ElfBuilder {
public:
    ElfBuilder(bool is64, bool bigEndian, uint16_t machine = 40);

    // Returns the section's index (section 0 is the null section).
    int addSection(const TestSection& section);
    void addSymbol(const TestSymbol& symbol);
    void addProgram(const TestProgram& program) { programs_.push_back(program); }

    std::vector<uint8_t> build();

    // Offsets inside the last built image, for tests that damage it.
    uint64_t shoff = 0;
    uint64_t phoff = 0;
    std::vector<uint64_t> sectionOffsets; // file offset of each section's data
    int symtabIndex = -1;

    uint16_t type = 1;
    uint32_t flags = 0;
    uint64_t entry = 0;
    int identClass = -1; // -1: derived from is64
    int identData = -1;  // -1: derived from bigEndian

private:
    void put(std::vector<uint8_t>& out, uint64_t offset, uint64_t value, int size) const;
    void word(std::vector<uint8_t>& out, uint64_t offset, uint64_t value) const { put(out, offset, value, is64_ ? 8 : 4); }

    bool is64_;
    bool bigEndian_;
    uint16_t machine_;
    std::vector<TestSection> sections_;
    std::vector<TestSymbol> symbols_;
    std::vector<TestProgram> programs_;
};

// Writes bytes to a temporary file that is removed when the object goes away.
class TempFile {
public:
    explicit TempFile(const std::vector<uint8_t>& bytes, const std::string& suffix = ".o");
    explicit TempFile(const std::string& text, const std::string& suffix = ".txt");
    ~TempFile();
    const std::string& path() const { return path_; }

private:
    void write(const void* data, size_t size, const std::string& suffix);
    std::string path_;
};

// Reads a whole stream that the code under test wrote to (created by open_memstream).
std::vector<uint8_t> readFile(const std::string& path);
// The files of a folder (`dir` ends in "/"), hidden ones left out, sorted by name.
std::vector<std::string> filesIn(const std::string& dir);
