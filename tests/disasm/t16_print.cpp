// Prints our text for every 16-bit Thumb halfword, one "HHHH<TAB>text" line each, for
// t16_sweep_test.py. Argument: the -arch name (optional).
#include <cstdio>

#include "disasm/armdisassembler.h"

int main(int argc, char** argv)
{
    ARMDisassembler disassembler(argc > 1 ? ARMDisassembler::architectureLevel(QString::fromLatin1(argv[1])) : 0, false,
                                 false);
    char text[128];
    for (uint32_t h = 0; h < 0xE800; ++h) {
        // Each halfword stands alone: no IT block carries over from the one before.
        disassembler.decoder().resetState();
        const uint8_t bytes[2] = {uint8_t(h), uint8_t(h >> 8)};
        uint32_t opcode = 0;
        disassembler.disassembleInstruction(0x1000, bytes, true, text, sizeof text, 2, &opcode);
        printf("%04X\t%s\n", h, text + 12);
    }
    return 0;
}
