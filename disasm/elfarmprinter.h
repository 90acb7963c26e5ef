#pragma once
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "disasm/armtextprinter.h"

class ElfFile;
class ElfSection;
class ElfSymbol;

// The printer for code read from an ELF file: branch targets and literals gain the
// names of the symbols they reach.
class MyARMInstructionSetDisassembler : public ARMInstructionSetDisassembler {
public:
    void setFile(const ElfFile* file, const ElfSection* section, bool symbols, uint32_t options);
    // The section being decoded; its relocations are indexed when first needed.
    void setSection(const ElfSection* section) { section_ = section; }
    // Assembler output: branch targets become assembler expressions (".+N" or the
    // relocated symbol's name) so the text assembles back to the same bytes.
    void setAssemblerSyntax(bool on) { assemblerSyntax_ = on; }

    // Option bit 0: PC-relative operands in bracket form with the loaded value as a comment.
    static constexpr uint32_t OptionPcRelative = 1;

protected:
    void printBranchTarget(uint32_t target) override;
    bool printLiteralAddress(uint32_t address, int size) override;
    bool usePcRelativeForm() override { return (options_ & OptionPcRelative) || !file_; }
    bool option1() override { return options_ & 2; }
    bool option2() override { return options_ & 4; }
    bool option3() override { return options_ & 8; }

    // The name for an address: a function symbol in an executable, the call's
    // relocation in an object. Empty when none.
    std::string_view nameFor(uint32_t target, bool fromCall) const;

private:
    const ElfFile* file_ = nullptr;
    const ElfSection* section_ = nullptr;
    bool symbols_ = false;
    bool executable_ = false;
    bool assemblerSyntax_ = false;
    uint32_t options_ = 0;
    // Indexes made on first use, so that naming a branch costs a search rather
    // than a pass over every symbol or relocation: the symbols of an executable
    // by address (bit 0 cleared, file order kept among equals), and the current
    // section's relocations by offset (offset, info).
    mutable std::vector<std::pair<uint32_t, const ElfSymbol*>> symbolsByAddress_;
    mutable bool symbolsIndexed_ = false;
    mutable const ElfSection* indexedSection_ = nullptr;
    mutable std::vector<std::pair<uint32_t, uint32_t>> relocationsByOffset_;
};

// The same printer with no file behind it: literal loads keep the bracket form and
// the options are fixed at zero.
class MyARMInstructionSetDisassembler2 : public ARMInstructionSetDisassembler {
protected:
    bool usePcRelativeForm() override { return false; }
};
