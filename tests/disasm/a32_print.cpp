// Prints our text for the A32 words of a raw little-endian file, one "WWWWWWWW<TAB>text"
// line each, the word at its offset in the file, for a32_sweep_test.py.
// Arguments: the file, then the -arch name (optional).
#include <cstdio>
#include <vector>

#include "disasm/armdisassembler.h"

int main(int argc, char** argv)
{
    if (argc < 2)
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
    ARMDisassembler disassembler(argc > 2 ? ARMDisassembler::architectureLevel(QString::fromLatin1(argv[2])) : 0, false,
                                 false);
    char text[160];
    for (size_t at = 0; at + 4 <= data.size(); at += 4) {
        uint32_t opcode = 0;
        disassembler.disassembleInstruction(uint32_t(at), data.data() + at, false, text, sizeof text, 4, &opcode);
        printf("%08X\t%s\n", opcode, text + 12);
    }
    return 0;
}
