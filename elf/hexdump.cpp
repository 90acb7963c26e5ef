#include "elf/elflistings.h"
#include "qtx/textline.h"

void printHexRows(const uint8_t* data, uint64_t size, uint64_t address, QTx::TextLine& line)
{
    static const char digits[] = "0123456789ABCDEF";
    for (uint64_t row = 0; row < size; row += 16) {
        line.str("  ").hex(address + row).str("  ");
        const uint64_t n = size - row < 16 ? size - row : 16;
        char bytes[16 * 3 + 2];
        size_t len = 0;
        for (uint64_t i = 0; i < n; ++i) {
            const uint8_t b = data[row + i];
            bytes[len++] = ' ';
            bytes[len++] = digits[b >> 4];
            bytes[len++] = digits[b & 0xF];
            // A gap between the two halves of the row.
            if (i == 7)
                bytes[len++] = ' ';
        }
        bytes[len++] = '\n';
        line.str(std::string_view(bytes, len));
    }
}
