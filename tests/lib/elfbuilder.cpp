#include "tests/lib/elfbuilder.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

ElfBuilder::ElfBuilder(bool is64, bool bigEndian, uint16_t machine)
    : is64_(is64), bigEndian_(bigEndian), machine_(machine)
{
}

int ElfBuilder::addSection(const TestSection& section)
{
    sections_.push_back(section);
    return int(sections_.size()); // index 0 is the null section written by build()
}

void ElfBuilder::addSymbol(const TestSymbol& symbol)
{
    symbols_.push_back(symbol);
}

void ElfBuilder::put(std::vector<uint8_t>& out, uint64_t offset, uint64_t value, int size) const
{
    if (out.size() < offset + size)
        out.resize(offset + size);
    for (int i = 0; i < size; ++i) {
        const int shift = bigEndian_ ? 8 * (size - 1 - i) : 8 * i;
        out[offset + i] = uint8_t(value >> shift);
    }
}

static void align(std::vector<uint8_t>& out, size_t to)
{
    while (out.size() % to)
        out.push_back(0);
}

std::vector<uint8_t> ElfBuilder::build()
{
    std::vector<TestSection> all = sections_;
    // Symbol table and its string table, when symbols were added.
    if (!symbols_.empty()) {
        TestSection strtab;
        strtab.name = ".strtab";
        strtab.type = 3;
        strtab.data.push_back(0);
        TestSection symtab;
        symtab.name = ".symtab";
        symtab.type = 2;
        symtab.entsize = is64_ ? 24 : 16;
        symtab.align = is64_ ? 8 : 4;
        symtab.link = uint32_t(all.size() + 2); // .strtab follows .symtab
        symtab.info = 1;
        std::vector<uint8_t> entries(symtab.entsize); // entry 0 is all zero
        for (const TestSymbol& s : symbols_) {
            const uint64_t at = entries.size();
            entries.resize(at + symtab.entsize);
            uint32_t nameOffset = 0;
            if (!s.name.empty()) {
                nameOffset = uint32_t(strtab.data.size());
                strtab.data.insert(strtab.data.end(), s.name.begin(), s.name.end());
                strtab.data.push_back(0);
            }
            put(entries, at, nameOffset, 4);
            if (is64_) {
                entries[at + 4] = s.info;
                entries[at + 5] = s.other;
                put(entries, at + 6, s.shndx, 2);
                put(entries, at + 8, s.value, 8);
                put(entries, at + 16, s.size, 8);
            } else {
                put(entries, at + 4, s.value, 4);
                put(entries, at + 8, s.size, 4);
                entries[at + 12] = s.info;
                entries[at + 13] = s.other;
                put(entries, at + 14, s.shndx, 2);
            }
        }
        symtab.data = entries;
        all.push_back(symtab);
        symtabIndex = int(all.size());
        all.push_back(strtab);
    }
    TestSection shstrtab;
    shstrtab.name = ".shstrtab";
    shstrtab.type = 3;
    all.push_back(shstrtab);
    const size_t shstrIndex = all.size();

    std::vector<uint32_t> nameOffsets;
    std::vector<uint8_t> names{0};
    for (const TestSection& s : all) {
        nameOffsets.push_back(uint32_t(names.size()));
        names.insert(names.end(), s.name.begin(), s.name.end());
        names.push_back(0);
    }
    all.back().data = names;

    const uint64_t ehsize = is64_ ? 64 : 52;
    const uint64_t phentsize = is64_ ? 56 : 32;
    const uint64_t shentsize = is64_ ? 64 : 40;
    std::vector<uint8_t> out(ehsize);
    phoff = programs_.empty() ? 0 : out.size();
    out.resize(out.size() + programs_.size() * phentsize);
    sectionOffsets.assign(1, 0);
    for (const TestSection& s : all) {
        align(out, 8);
        sectionOffsets.push_back(s.type == 8 ? out.size() : out.size());
        if (s.type != 8)
            out.insert(out.end(), s.data.begin(), s.data.end());
    }
    align(out, 8);
    shoff = out.size();
    out.resize(out.size() + (all.size() + 1) * shentsize);

    out[0] = 0x7f;
    out[1] = 'E';
    out[2] = 'L';
    out[3] = 'F';
    out[4] = uint8_t(identClass >= 0 ? identClass : (is64_ ? 2 : 1));
    out[5] = uint8_t(identData >= 0 ? identData : (bigEndian_ ? 2 : 1));
    out[6] = 1;
    put(out, 16, type, 2);
    put(out, 18, machine_, 2);
    put(out, 20, 1, 4);
    uint64_t p = 24;
    word(out, p, entry);
    word(out, p + (is64_ ? 8 : 4), phoff);
    word(out, p + (is64_ ? 16 : 8), shoff);
    p += is64_ ? 24 : 12;
    put(out, p, flags, 4);
    put(out, p + 4, ehsize, 2);
    put(out, p + 6, phentsize, 2);
    put(out, p + 8, programs_.size(), 2);
    put(out, p + 10, shentsize, 2);
    put(out, p + 12, all.size() + 1, 2);
    put(out, p + 14, shstrIndex, 2);

    for (size_t i = 0; i < programs_.size(); ++i) {
        TestProgram ph = programs_[i];
        if (ph.fromSection > 0)
            ph.offset = sectionOffsets[size_t(ph.fromSection)];
        const uint64_t r = phoff + i * phentsize;
        put(out, r, ph.type, 4);
        if (is64_) {
            put(out, r + 4, ph.flags, 4);
            put(out, r + 8, ph.offset, 8);
            put(out, r + 16, ph.vaddr, 8);
            put(out, r + 24, ph.paddr, 8);
            put(out, r + 32, ph.filesz, 8);
            put(out, r + 40, ph.memsz, 8);
            put(out, r + 48, ph.align, 8);
        } else {
            put(out, r + 4, ph.offset, 4);
            put(out, r + 8, ph.vaddr, 4);
            put(out, r + 12, ph.paddr, 4);
            put(out, r + 16, ph.filesz, 4);
            put(out, r + 20, ph.memsz, 4);
            put(out, r + 24, ph.flags, 4);
            put(out, r + 28, ph.align, 4);
        }
    }

    for (size_t i = 0; i < all.size(); ++i) {
        const TestSection& s = all[i];
        const uint64_t r = shoff + (i + 1) * shentsize;
        const uint64_t size = s.type == 8 ? s.nobitsSize : s.data.size();
        put(out, r, nameOffsets[i], 4);
        put(out, r + 4, s.type, 4);
        if (is64_) {
            put(out, r + 8, s.flags, 8);
            put(out, r + 16, s.addr, 8);
            put(out, r + 24, sectionOffsets[i + 1], 8);
            put(out, r + 32, size, 8);
            put(out, r + 40, s.link, 4);
            put(out, r + 44, s.info, 4);
            put(out, r + 48, s.align, 8);
            put(out, r + 56, s.entsize, 8);
        } else {
            put(out, r + 8, s.flags, 4);
            put(out, r + 12, s.addr, 4);
            put(out, r + 16, sectionOffsets[i + 1], 4);
            put(out, r + 20, size, 4);
            put(out, r + 24, s.link, 4);
            put(out, r + 28, s.info, 4);
            put(out, r + 32, s.align, 4);
            put(out, r + 36, s.entsize, 4);
        }
    }
    return out;
}

TempFile::TempFile(const std::vector<uint8_t>& bytes, const std::string& suffix)
{
    write(bytes.data(), bytes.size(), suffix);
}

TempFile::TempFile(const std::string& text, const std::string& suffix)
{
    write(text.data(), text.size(), suffix);
}

void TempFile::write(const void* data, size_t size, const std::string& suffix)
{
    // In memory where the machine has a memory file system: the sweeps write thousands
    // of files, and the patch options save each with fsync.
    const char* dir = getenv("TMPDIR") ? getenv("TMPDIR") : access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    std::string pattern = std::string(dir) + "/edd-test-XXXXXX" + suffix;
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back(0);
    const int fd = mkstemps(name.data(), int(suffix.size()));
    if (fd < 0)
        throw std::runtime_error("cannot create a temporary file");
    const char* p = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t n = ::write(fd, p, size);
        if (n <= 0)
            break;
        p += n;
        size -= size_t(n);
    }
    close(fd);
    path_ = name.data();
}

TempFile::~TempFile()
{
    unlink(path_.c_str());
}

std::vector<uint8_t> readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::vector<std::string> filesIn(const std::string& dir)
{
    std::vector<std::string> names;
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* e = readdir(d)) {
            if (e->d_name[0] != '.')
                names.push_back(dir + e->d_name);
        }
        closedir(d);
    }
    std::sort(names.begin(), names.end());
    return names;
}
