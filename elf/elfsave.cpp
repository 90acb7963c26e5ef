// Writing a changed file model back: every header, section header and decoded symbol
// is encoded into a copy of the image, which replaces the file in one rename.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "elf/elffile.h"

namespace {

class Encoder {
public:
    Encoder(uint8_t* image, bool bigEndian, bool is64) : image_(image), be_(bigEndian), is64_(is64) {}

    void put(uint64_t offset, uint64_t value, int size) const
    {
        for (int i = 0; i < size; ++i)
            image_[offset + i] = uint8_t(value >> (be_ ? 8 * (size - 1 - i) : 8 * i));
    }
    void word(uint64_t offset, uint64_t value) const { put(offset, value, is64_ ? 8 : 4); }

private:
    uint8_t* image_;
    bool be_;
    bool is64_;
};

// Writes all of `data` to `fd`; false on any failure (a full disk included).
bool writeAll(int fd, const uint8_t* data, uint64_t size)
{
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size > (1u << 30) ? (1u << 30) : size_t(size));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        data += n;
        size -= uint64_t(n);
    }
    return true;
}

std::string folderOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

} // namespace

void ElfFile::encodeInto(uint8_t* copy) const
{
    const Encoder e(copy, bigEndian_, is64_);
    const uint64_t w = is64_ ? 8 : 4;
    e.put(16, e_type, 2);
    e.put(18, e_machine, 2);
    e.put(20, e_version, 4);
    e.word(24, e_entry);
    e.word(24 + w, e_phoff);
    e.word(24 + 2 * w, e_shoff);
    const uint64_t p = 24 + 3 * w;
    e.put(p, e_flags, 4);
    e.put(p + 4, e_ehsize, 2);
    e.put(p + 6, e_phentsize, 2);
    e.put(p + 8, e_phnum, 2);
    e.put(p + 10, e_shentsize, 2);
    e.put(p + 12, e_shnum, 2);
    e.put(p + 14, e_shstrndx, 2);

    // The loader checked that every table lies inside the image.
    const uint64_t phSize = is64_ ? 56 : 32;
    for (size_t i = 0; i < programs_.size(); ++i) {
        const ElfProgram& ph = programs_[i];
        const uint64_t r = e_phoff + i * phSize;
        e.put(r, ph.p_type, 4);
        if (is64_) {
            e.put(r + 4, ph.p_flags, 4);
            e.put(r + 8, ph.p_offset, 8);
            e.put(r + 16, ph.p_vaddr, 8);
            e.put(r + 24, ph.p_paddr, 8);
            e.put(r + 32, ph.p_filesz, 8);
            e.put(r + 40, ph.p_memsz, 8);
            e.put(r + 48, ph.p_align, 8);
        } else {
            e.put(r + 4, ph.p_offset, 4);
            e.put(r + 8, ph.p_vaddr, 4);
            e.put(r + 12, ph.p_paddr, 4);
            e.put(r + 16, ph.p_filesz, 4);
            e.put(r + 20, ph.p_memsz, 4);
            e.put(r + 24, ph.p_flags, 4);
            e.put(r + 28, ph.p_align, 4);
        }
    }

    const uint64_t shSize = is64_ ? 64 : 40;
    for (size_t i = 0; i < sections_.size(); ++i) {
        const ElfSection& s = sections_[i];
        const uint64_t r = e_shoff + i * shSize;
        e.put(r, s.sh_name, 4);
        e.put(r + 4, s.sh_type, 4);
        if (is64_) {
            e.put(r + 8, s.sh_flags, 8);
            e.put(r + 16, s.sh_addr, 8);
            e.put(r + 24, s.sh_offset, 8);
            e.put(r + 32, s.sh_size, 8);
            e.put(r + 40, s.sh_link, 4);
            e.put(r + 44, s.sh_info, 4);
            e.put(r + 48, s.sh_addralign, 8);
            e.put(r + 56, s.sh_entsize, 8);
        } else {
            e.put(r + 8, s.sh_flags, 4);
            e.put(r + 12, s.sh_addr, 4);
            e.put(r + 16, s.sh_offset, 4);
            e.put(r + 20, s.sh_size, 4);
            e.put(r + 24, s.sh_link, 4);
            e.put(r + 28, s.sh_info, 4);
            e.put(r + 32, s.sh_addralign, 4);
            e.put(r + 36, s.sh_entsize, 4);
        }
    }

    // Symbols never decoded cannot have changed: their bytes stay as they are.
    const uint64_t symSize = is64_ ? 24 : 16;
    const uint64_t table = symbolTable_ ? uint64_t(symbolTable_ - image_) : 0;
    for (const ElfSymbol* sym : symbols_) {
        const uint64_t r = table + sym->index * symSize;
        e.put(r, sym->st_name, 4);
        if (is64_) {
            copy[r + 4] = sym->st_info;
            copy[r + 5] = sym->st_other;
            e.put(r + 6, sym->st_shndx, 2);
            e.put(r + 8, sym->st_value, 8);
            e.put(r + 16, sym->st_size, 8);
        } else {
            e.put(r + 4, sym->st_value, 4);
            e.put(r + 8, sym->st_size, 4);
            copy[r + 12] = sym->st_info;
            copy[r + 13] = sym->st_other;
            e.put(r + 14, sym->st_shndx, 2);
        }
    }
}

void ElfFile::save(const QString& path) const
{
    const std::string target = path.toLocal8Bit().toStdString();
    const std::string failure = "cannot write " + target;
    struct stat original;
    if (stat(target.c_str(), &original) != 0 || !S_ISREG(original.st_mode))
        throw HException(failure);
    // A file or folder marked read-only is left alone even for a user who could
    // override the marks.
    struct stat folder;
    const std::string dir = folderOf(target);
    if ((original.st_mode & 0222) == 0 || access(target.c_str(), W_OK) != 0 || stat(dir.c_str(), &folder) != 0 ||
        (folder.st_mode & 0222) == 0 || access(dir.c_str(), W_OK) != 0)
        throw HException(failure);

    std::unique_ptr<uint8_t[]> copy(new uint8_t[imageSize_ + 1]);
    memcpy(copy.get(), image_, imageSize_);
    encodeInto(copy.get());

    // The new image goes to a temporary file beside the original and replaces it only
    // once it is complete on disk: a failure at any point leaves the original intact.
    std::string temporary = target + ".XXXXXX";
    const int fd = mkstemp(temporary.data());
    if (fd < 0)
        throw HException(failure);
    const bool written = writeAll(fd, copy.get(), imageSize_) && fchmod(fd, original.st_mode & 07777) == 0 &&
                         fsync(fd) == 0;
    const bool closed = close(fd) == 0;
    if (!written || !closed || rename(temporary.c_str(), target.c_str()) != 0) {
        unlink(temporary.c_str());
        throw HException(failure);
    }
}
