// Prints our text for the instructions of a raw little-endian file, one
// "ENCODING<TAB>text" line per 4-byte item, for the sweep tests. Each item is one
// A32 word, or one 32-bit Thumb instruction (its first halfword first), decoded on
// its own: no IT block carries over from the one before.
// Arguments: the file, "arm" or "thumb", then the -arch name (optional).
#include <cstdio>
#include <cstring>
#include <vector>

#include "disasm/armdisassembler.h"

int main(int argc, char** argv)
{
    if (argc < 3)
        return 2;
    FILE* in = fopen(argv[1], "rb");
    if (!in)
        return 2;
    std::vector<uint8_t> data;
    uint8_t buffer[65536];
    size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, in)) > 0)
        data.insert(data.end(), buffer, buffer + n);
    fclose(in);
    const bool thumb = strcmp(argv[2], "thumb") == 0;
    ARMDisassembler disassembler(argc > 3 ? ARMDisassembler::architectureLevel(QString::fromLatin1(argv[3])) : 0, false,
                                 false);
    char text[160];
    for (size_t at = 0; at + 4 <= data.size(); at += 4) {
        disassembler.decoder().resetState();
        uint32_t opcode = 0;
        disassembler.disassembleInstruction(uint32_t(at), data.data() + at, thumb, text, sizeof text, 4, &opcode);
        printf("%08X\t%s\n", opcode, text + 12);
    }
    return 0;
}
