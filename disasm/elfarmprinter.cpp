#include "disasm/elfarmprinter.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "elf/elffile.h"

void MyARMInstructionSetDisassembler::setFile(const ElfFile* file, const ElfSection* section, bool symbols,
                                              uint32_t options)
{
    file_ = file;
    section_ = section;
    symbolsByAddress_.clear();
    symbolsIndexed_ = false;
    indexedSection_ = nullptr;
    relocationsByOffset_.clear();
    symbols_ = symbols;
    options_ = options;
    executable_ = file && file->e_type == 2;
}

namespace {
uint32_t read32(const uint8_t* p, bool little)
{
    return little ? uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24
                  : uint32_t(p[3]) | uint32_t(p[2]) << 8 | uint32_t(p[1]) << 16 | uint32_t(p[0]) << 24;
}
} // namespace

std::string_view MyARMInstructionSetDisassembler::nameFor(uint32_t where, bool fromCall) const
{
    if (!file_ || !symbols_)
        return {};
    if (executable_) {
        // Among the symbols at the target (Thumb bit cleared) in an allocated section,
        // the first function wins, else the last candidate.
        if (!symbolsIndexed_) {
            for (const ElfSymbol* s : file_->definedSymbols()) {
                const ElfSection* sec = file_->sectionOfSymbol(s);
                if (sec && (sec->sh_flags & ElfShf::SHF_ALLOC))
                    symbolsByAddress_.emplace_back(uint32_t(s->st_value & ~1ull), s);
            }
            std::stable_sort(symbolsByAddress_.begin(), symbolsByAddress_.end(),
                             [](const auto& a, const auto& b) { return a.first < b.first; });
            symbolsIndexed_ = true;
        }
        const ElfSymbol* last = nullptr;
        const uint32_t wanted = where & ~1u;
        auto at = std::lower_bound(symbolsByAddress_.begin(), symbolsByAddress_.end(), wanted,
                                   [](const auto& entry, uint32_t value) { return entry.first < value; });
        for (; at != symbolsByAddress_.end() && at->first == wanted; ++at) {
            const ElfSymbol* s = at->second;
            if (dynamic_cast<const ARMElfSymbol*>(s) && s->type() == ElfSym::STT_FUNC)
                return s->name;
            last = s;
        }
        return last ? last->name : std::string_view();
    }
    if (!fromCall || !section_)
        return {};
    // A relocatable object: the call's own relocation names the callee. REL entries
    // are 8 bytes (offset, info) in the file's byte order.
    if (indexedSection_ != section_) {
        indexedSection_ = section_;
        relocationsByOffset_.clear();
        const ElfSection* rel = file_->relocationSectionFor(section_);
        if (rel && rel->sh_type == ElfSht::SHT_REL && rel->data) {
            const bool little = file_->isLittleEndian();
            for (uint64_t at = 0; at + 8 <= rel->dataSize; at += 8)
                relocationsByOffset_.emplace_back(read32(rel->data + at, little), read32(rel->data + at + 4, little));
            std::stable_sort(relocationsByOffset_.begin(), relocationsByOffset_.end(),
                             [](const auto& a, const auto& b) { return a.first < b.first; });
        }
    }
    // Calls carry R_ARM_CALL (28) or R_ARM_THM_CALL (10); other branches R_ARM_JUMP24
    // (29), R_ARM_THM_JUMP24 (30) or R_ARM_THM_JUMP19 (51).
    auto wanted = [&](uint32_t type) {
        if (armCall)
            return type == 28;
        if (thumbCall)
            return type == 10;
        return type == 29 || type == 30 || type == 51;
    };
    auto at = std::lower_bound(relocationsByOffset_.begin(), relocationsByOffset_.end(), where,
                               [](const auto& entry, uint32_t value) { return entry.first < value; });
    for (; at != relocationsByOffset_.end() && at->first == where; ++at) {
        if (!wanted(at->second & 0xFF))
            continue;
        const ElfSymbol* s = file_->symbolAt(at->second >> 8);
        return s ? s->name : std::string_view();
    }
    return {};
}

void MyARMInstructionSetDisassembler::printBranchTarget(uint32_t where)
{
    if (assemblerSyntax_) {
        // Assembler text: a relocated call names its symbol; anything else is an
        // offset from the instruction, which assembles to the same bytes without a
        // relocation.
        // A relocated call or jump (a tail call) names its symbol.
        if (const std::string_view name = nameFor(instructionAddress(), true); !name.empty()) {
            put(name);
            return;
        }
        const int32_t delta = int32_t(where - instructionAddress());
        put(delta < 0 ? ".-" : ".+");
        const uint32_t magnitude = delta < 0 ? uint32_t(-int64_t(delta)) : uint32_t(delta);
        decimal(magnitude);
        return;
    }
    ARMInstructionSetDisassembler::printBranchTarget(where);
    // In an object a call's stored offset leads back to the call itself (-4 for
    // Thumb, -8 for A32, the PC bias), which is where its relocation sits.
    // A jump's relocation sits on the jump itself.
    const std::string_view name = executable_ ? nameFor(where, false)
                                              : ((armCall || thumbCall) ? nameFor(where, true)
                                                                        : nameFor(instructionAddress(), true));
    if (!name.empty()) {
        put(" <");
        put(name);
        put('>');
    }
}

bool MyARMInstructionSetDisassembler::printLiteralAddress(uint32_t where, int size)
{
    if (!file_)
        return false;
    const ElfSection* holder = nullptr;
    for (int i = 0; i < file_->sectionCount(); ++i) {
        const ElfSection* s = file_->sectionAt(i);
        if (s && s->data && (s->sh_flags & ElfShf::SHF_ALLOC) && where >= s->sh_addr &&
            uint64_t(where) + uint64_t(size) <= s->sh_addr + s->dataSize) {
            holder = s;
            break;
        }
    }
    if (!holder)
        return false;
    if (!(options_ & OptionPcRelative))
        return false;
    const bool little = file_->isLittleEndian();
    const uint8_t* p = holder->data + (where - holder->sh_addr);
    char buf[64];
    snprintf(buf, sizeof buf, " ; [0x%08X]=", where);
    put(buf);
    if (size == 8) {
        const uint32_t a = read32(p, little), b = read32(p + 4, little);
        snprintf(buf, sizeof buf, "0x%08X%08X", little ? b : a, little ? a : b);
        put(buf);
    } else if (size == 2) {
        const uint32_t v = little ? (p[0] | p[1] << 8) : (p[1] | p[0] << 8);
        snprintf(buf, sizeof buf, "0x%04X", v);
        put(buf);
    } else {
        const uint32_t v = read32(p, little);
        snprintf(buf, sizeof buf, "0x%08X", v);
        put(buf);
        if (const std::string_view name = nameFor(v, false); !name.empty() && executable_) {
            put(" <");
            put(name);
            put('>');
        }
    }
    return true;
}
