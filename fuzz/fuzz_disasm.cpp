// The instruction decoder on raw bytes, A32 and Thumb, at every architecture level,
// in both byte orders; and -disassemble on the input as an ELF image.
#include <cstring>

#include "disasm/armdisassembler.h"
#include "fuzz/fuzzinput.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const char* const levels[] = {"",   "v4T", "v5TE", "v6",           "v6M",          "v6T2",
                                         "v7M", "v7EM", "v7R", "v7A", "v8A", "v8R", "v8M_Baseline",
                                         "v8M_Mainline", "v8.1M_Mainline"};
    constexpr size_t levelCount = sizeof levels / sizeof levels[0];
    if (size == 0)
        return 0;
    // The first byte picks level, byte order and instruction set, so that each input
    // is decoded once and the fuzzer steers the choice like any other byte.
    const uint8_t pick = data[0];
    const bool bigEndian = pick & 0x10;
    const bool thumb = pick & 0x20;
    const uint8_t* code = data + 1;
    const size_t codeSize = size - 1;
    ARMDisassembler disassembler(ARMDisassembler::architectureLevel(QString::fromLatin1(levels[pick % levelCount])),
                                 bigEndian, false);
    // Text buffers of every size down to none: the buffer rule must hold at each.
    char text[160];
    size_t at = 0;
    while (at < codeSize) {
        uint32_t opcode = 0;
        const int32_t room = int32_t((at * 7) % sizeof text);
        const uint32_t done = disassembler.disassembleInstruction(uint32_t(at), code + at, thumb, text, room,
                                                                  uint32_t(codeSize - at), &opcode);
        if (!done) // too few bytes: nothing is written
            break;
        if (room > 0 && !memchr(text, 0, size_t(room)))
            __builtin_trap(); // a written text is always terminated
        at += thumb ? ((code[at + (bigEndian ? 0 : 1)] >> 3) >= 0x1D && codeSize - at >= 4 ? 4 : 2) : 4;
    }
    const std::string& path = Fuzz::inputPath();
    if (Fuzz::writeInput(path, data, size))
        Fuzz::run({"-disassemble", QString::fromStdString(path)});
    return 0;
}
