#include <cstring>

#include "elf/byteorder.h"
#include "elf/elffile.h"
#include "elf/elflistings.h"
#include "elf/elfnames.h"
#include "qtx/textline.h"

void printLtoSymbols(const ElfFile& file, FILE* out)
{
    const ElfSection* table = nullptr;
    for (int i = 0; i < file.sectionCount() && !table; ++i) {
        const ElfSection* s = file.sectionAt(i);
        if (s->name.starts_with(".gnu.lto_.symtab."))
            table = s;
    }
    if (!table || !table->data)
        return;

    // Each entry: name and comdat name (NUL-terminated), kind and visibility bytes,
    // a 64-bit size and a 32-bit slot. The compiler writes both numbers little-endian
    // whatever the target's byte order.
    const uint8_t* p = table->data;
    const uint8_t* end = p + table->dataSize;
    QTx::TextLine line(out);
    while (p < end) {
        const uint8_t* nameEnd = static_cast<const uint8_t*>(memchr(p, 0, end - p));
        if (!nameEnd)
            break;
        const uint8_t* comdatEnd = static_cast<const uint8_t*>(memchr(nameEnd + 1, 0, end - nameEnd - 1));
        if (!comdatEnd || end - comdatEnd - 1 < 14)
            break;
        const uint8_t* fields = comdatEnd + 1;
        const uint8_t kind = fields[0];
        const uint8_t visibility = fields[1];
        const uint64_t size = ElfBytes::u64(fields + 2, false);
        const uint32_t slot = ElfBytes::u32(fields + 10, false);
        line.udec(slot).ch(' ').str(std::string_view(reinterpret_cast<const char*>(p), nameEnd - p)).ch(' ');
        line.str(ElfNames::ltoKind(kind)).ch(' ').str(ElfNames::ltoVisibility(visibility)).ch(' ');
        line.dec(int64_t(size)).ch('\n');
        p = fields + 14;
    }
}
