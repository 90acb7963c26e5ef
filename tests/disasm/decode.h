#pragma once
// Our text for single instructions and short stretches of code, for the decoder tests.
#include <cstdint>
#include <string>
#include <vector>

#include "disasm/armdisassembler.h"

namespace DecodeTest {

// An encoding and the text it must print.
struct Row {
    uint32_t word;
    const char* text;
};

// An A32 word.
inline std::string arm(uint32_t word, uint32_t level = ArmLevel::Any, uint32_t address = 0)
{
    ARMDisassembler d(level, false, false);
    const uint8_t raw[4] = {uint8_t(word), uint8_t(word >> 8), uint8_t(word >> 16), uint8_t(word >> 24)};
    char text[160];
    const uint32_t n = d.disassembleInstruction(address, raw, false, text, sizeof text, 4, nullptr);
    return n ? std::string(text + 12) : std::string();
}

// Thumb instructions decoded in turn by one disassembler, so that an IT or VPT block
// carries over: a 32-bit one given as first halfword << 16 | second halfword, a
// 16-bit one as a value below 0x10000.
inline std::vector<std::string> thumbRun(const std::vector<uint32_t>& encodings, uint32_t level = ArmLevel::Any)
{
    ARMDisassembler d(level, false, false);
    std::vector<std::string> out;
    uint32_t address = 0;
    for (uint32_t encoding : encodings) {
        const bool wide = encoding > 0xFFFF;
        const uint32_t first = wide ? encoding >> 16 : encoding;
        const uint8_t raw[4] = {uint8_t(first), uint8_t(first >> 8), uint8_t(encoding), uint8_t(encoding >> 8)};
        char text[160];
        const uint32_t n = d.disassembleInstruction(address, raw, true, text, sizeof text, wide ? 4 : 2, nullptr);
        out.push_back(n ? std::string(text + 12) : std::string());
        address += wide ? 4 : 2;
    }
    return out;
}

// One Thumb instruction, as thumbRun takes it.
inline std::string thumb(uint32_t encoding, uint32_t level = ArmLevel::Any)
{
    return thumbRun({encoding}, level)[0];
}

// A stretch of Thumb code given as halfwords, each instruction's text followed by ";".
inline std::string thumbCode(const std::vector<uint16_t>& halves, uint32_t level = ArmLevel::Any)
{
    std::vector<uint32_t> encodings;
    for (size_t i = 0; i < halves.size(); ++i) {
        const bool wide = (halves[i] >> 11) >= 0x1D && i + 1 < halves.size();
        encodings.push_back(wide ? uint32_t(halves[i]) << 16 | halves[i + 1] : halves[i]);
        i += wide;
    }
    std::string out;
    for (const std::string& text : thumbRun(encodings, level))
        out += text + ";";
    return out;
}

} // namespace DecodeTest
