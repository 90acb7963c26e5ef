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
    // Text buffers of every size down to none: the buffer rule must hold at each.
    char text[160];
    for (const char* name : levels) {
        for (bool bigEndian : {false, true}) {
            ARMDisassembler disassembler(ARMDisassembler::architectureLevel(QString::fromLatin1(name)), bigEndian,
                                         false);
            for (bool thumb : {false, true}) {
                disassembler.decoder().resetState();
                size_t at = 0;
                while (at < size) {
                    uint32_t opcode = 0;
                    const int32_t room = int32_t((at * 7) % sizeof text);
                    const uint32_t done = disassembler.disassembleInstruction(
                        uint32_t(at), data + at, thumb, text, room, uint32_t(size - at), &opcode);
                    if (!done) // too few bytes: nothing is written
                        break;
                    if (room > 0 && !memchr(text, 0, size_t(room)))
                        __builtin_trap(); // a written text is always terminated
                    at += thumb ? ((data[at + (bigEndian ? 0 : 1)] >> 3) >= 0x1D && size - at >= 4 ? 4 : 2) : 4;
                }
            }
        }
    }
    const std::string& path = Fuzz::inputPath();
    if (Fuzz::writeInput(path, data, size))
        Fuzz::run({"-disassemble", QString::fromStdString(path)});
    return 0;
}
