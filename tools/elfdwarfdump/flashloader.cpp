#include "tools/elfdwarfdump/flashloader.h"

#include <cstring>
#include <string_view>

#include "elf/byteorder.h"
#include "elf/elffile.h"

namespace {

// The CMSIS device description (struct FlashDevice), by byte offset.
constexpr uint64_t devNameAt = 2;
constexpr uint64_t devNameSize = 128;
constexpr uint64_t devAdrAt = 132;
constexpr uint64_t szDevAt = 136;
constexpr uint64_t szPageAt = 140;
constexpr uint64_t flashSectorsAt = 160;
constexpr uint32_t sectorListEnd = 0xFFFFFFFF;

// The external loader's struct StorageInfo, by byte offset.
constexpr uint64_t deviceNameSize = 100;
constexpr uint64_t deviceTypeAt = 100;
constexpr uint64_t deviceStartAt = 104;
constexpr uint64_t deviceSizeAt = 108;
constexpr uint64_t pageSizeAt = 112;
constexpr uint64_t storageSectorsAt = 120;
constexpr int storageSectorCount = 10;

// The bytes of one description as far as the file holds them. Every field is read
// through here, so nothing past the end of its section or segment is touched.
class Bytes {
public:
    Bytes() = default;
    Bytes(const uint8_t* data, uint64_t size, bool bigEndian) : data_(data), size_(size), bigEndian_(bigEndian) {}

    bool has(uint64_t offset, uint64_t length) const { return offset <= size_ && length <= size_ - offset; }
    // Read in the file's byte order rather than the host's: the two agree for the
    // little-endian loaders met in practice, and a big-endian one still reads right.
    uint16_t u16(uint64_t offset) const { return ElfBytes::u16(data_ + offset, bigEndian_); }
    uint32_t u32(uint64_t offset) const { return ElfBytes::u32(data_ + offset, bigEndian_); }
    // A fixed-size character field: up to its NUL, or all of it when there is none.
    std::string_view text(uint64_t offset, uint64_t length) const
    {
        const char* s = reinterpret_cast<const char*>(data_ + offset);
        const void* nul = memchr(s, 0, length);
        return std::string_view(s, nul ? static_cast<const char*>(nul) - s : length);
    }

private:
    const uint8_t* data_ = nullptr;
    uint64_t size_ = 0;
    bool bigEndian_ = false;
};

void printProgramRanges(const ElfFile& file, FILE* out)
{
    // The loaders are 32-bit target code: addresses are shown in 32 bits.
    for (int i = 0; i < file.programCount(); ++i) {
        const ElfProgram& p = *file.programAt(i);
        fprintf(out, "Program 0x%08x-0x%08x\n", uint32_t(p.p_paddr), uint32_t(p.p_paddr + p.p_memsz));
    }
}

void printDeviceDescription(const Bytes& d, FILE* out)
{
    // The first line takes every field up to szPage; without them all there is
    // nothing to describe, not even the closing blank line.
    if (!d.has(0, szPageAt + 4))
        return;
    const std::string_view name = d.text(devNameAt, devNameSize);
    fprintf(out, "DevName %.*s DevAdr 0x%08x szDev 0x%x szPage 0x%x\n", int(name.size()), name.data(), d.u32(devAdrAt),
            d.u32(szDevAt), d.u32(szPageAt));
    // The list ends at its end mark, or where the section does: a pair cut in half is left out.
    for (uint64_t at = flashSectorsAt; d.has(at, 4); at += 8) {
        const uint32_t size = d.u32(at);
        if (size == sectorListEnd || !d.has(at, 8))
            break;
        fprintf(out, "szSector 0x%x, AddrSector 0x%x\n", size, d.u32(at + 4));
    }
    fprintf(out, "\n");
}

// The loaded bytes at the symbol's address, to the end of the section (or else the
// segment) holding them in the file; none when no loaded part of the file holds it.
Bytes loadedBytesAt(const ElfFile& file, const ElfSymbol& symbol)
{
    const bool bigEndian = !file.isLittleEndian();
    const uint64_t address = symbol.st_value;
    auto holds = [address](const ElfSection* s) {
        return s && s->memoryImage && s->data && address >= s->sh_addr && address - s->sh_addr < s->dataSize;
    };
    auto fromSection = [&](const ElfSection* s) {
        const uint64_t offset = address - s->sh_addr;
        return Bytes(s->data + offset, s->dataSize - offset, bigEndian);
    };
    // The symbol's own section first: in an object file every section starts at 0.
    const ElfSection* own = file.sectionOfSymbol(&symbol);
    if (holds(own))
        return fromSection(own);
    for (int i = 0; i < file.sectionCount(); ++i) {
        if (holds(file.sectionAt(i)))
            return fromSection(file.sectionAt(i));
    }
    for (int i = 0; i < file.programCount(); ++i) {
        const ElfProgram& p = *file.programAt(i);
        if (p.p_type == ElfPt::PT_LOAD && p.data && address >= p.p_vaddr && address - p.p_vaddr < p.dataSize) {
            const uint64_t offset = address - p.p_vaddr;
            return Bytes(p.data + offset, p.dataSize - offset, bigEndian);
        }
    }
    return Bytes();
}

void printStorageInfo(const Bytes& d, FILE* out)
{
    // Line by line, each only when all of its field is there; the first one missing
    // ends the description. The blank line closes whatever was printed.
    if (!d.has(0, deviceNameSize))
        return;
    const std::string_view name = d.text(0, deviceNameSize);
    fprintf(out, "DeviceName %.*s\n", int(name.size()), name.data());
    [&] {
        if (!d.has(deviceTypeAt, 2))
            return;
        fprintf(out, "DeviceType 0x%04x\n", d.u16(deviceTypeAt));
        if (!d.has(deviceStartAt, 4))
            return;
        fprintf(out, "DeviceStartAddress 0x%08x\n", d.u32(deviceStartAt));
        if (!d.has(deviceSizeAt, 4))
            return;
        fprintf(out, "DeviceSize 0x%x\n", d.u32(deviceSizeAt));
        if (!d.has(pageSizeAt, 4))
            return;
        fprintf(out, "PageSize 0x%x\n", d.u32(pageSizeAt));
        // The table has a fixed length; entries not in use are zero and shown all the same.
        for (int i = 0; i < storageSectorCount; ++i) {
            const uint64_t at = storageSectorsAt + uint64_t(i) * 8;
            if (!d.has(at, 8))
                return;
            fprintf(out, "SectorNum 0x%x, SectorSize 0x%x\n", d.u32(at), d.u32(at + 4));
        }
    }();
    fprintf(out, "\n");
}

} // namespace

void printFlashAlgorithm(const ElfFile& file, FILE* out)
{
    printProgramRanges(file, out);
    const bool bigEndian = !file.isLittleEndian();
    for (int i = 0; i < file.sectionCount(); ++i) {
        const ElfSection& s = *file.sectionAt(i);
        if (s.name == "PrgCode" || s.name == "PrgData") {
            fprintf(out, "%.*s 0x%08x-0x%08x\n", int(s.name.size()), s.name.data(), uint32_t(s.sh_addr),
                    uint32_t(s.sh_addr + s.sh_size));
        } else if (s.name == "DevDscr") {
            printDeviceDescription(Bytes(s.data, s.data ? s.dataSize : 0, bigEndian), out);
        }
    }
}

void printExternalLoader(const ElfFile& file, FILE* out)
{
    printProgramRanges(file, out);
    if (const ElfSymbol* info = file.symbolByName("StorageInfo"))
        printStorageInfo(loadedBytesAt(file, *info), out);
}
