#pragma once
#include <QString>
#include <cstdint>
#include <cstdio>
#include <memory>

#include "disasm/elfarmprinter.h"

class ElfFile;

// Disassembles ARM code: single instructions into a text line with their encoding,
// or a whole ELF file as assembler source that assembles back to the same bytes.
class ARMDisassembler {
public:
    ARMDisassembler(uint32_t architecture, bool bigEndian, bool instructionsLittleEndian);

    // The level for an -arch name (exact spelling), 0 for anything unknown.
    static uint32_t architectureLevel(const QString& name);

    // Decodes the instruction at `bytes` (`available` bytes readable) into `text`:
    // a 12-character encoding column ("%04X" + 8 blanks or "%08X" + 4 blanks), then
    // the instruction. Returns 0 when the bytes do not hold a whole instruction,
    // else 1. `opcodeOut` receives the encoding as shown.
    uint32_t disassembleInstruction(uint32_t address, const uint8_t* bytes, bool thumb, char* text, int32_t textSize,
                                    uint32_t available, uint32_t* opcodeOut);

    // The whole file as assembler source that arm-none-eabi-as turns back into the
    // same section contents (the tests check this on every member of a C library):
    //  - the instruction text is written without the 12-character encoding column;
    //  - branch targets are ".+N"/".-N" from the instruction, or the symbol a call's
    //    relocation names, so they assemble without relocations of their own;
    //  - ".thumb"/".arm" follow the mapping symbols ($t, $a, "$t.", "$a."); data
    //    regions ($d) are never decoded: ".word", ".short", ".byte" by what is left
    //    before the next mapping symbol, ".word <symbol>" or ".word .L<section><offset>"
    //    where an R_ARM_ABS32 relocation applies, the label then written in the
    //    target section;
    //  - encodings without a mnemonic, and those the assembler would encode another
    //    way (ADDS/SUBS Rd, Rd, #imm3), are written raw with ".inst.n"/".inst.w"/".inst";
    //  - an alignment of 0 is written as ".balign 1";
    //  - global symbols get ".global" (and ".thumb_func", ".type ..., function" for
    //    functions), local ones their label (".thumb_func" too for a Thumb
    //    function, so calls to it stay Thumb, and ".type ..., function" for any
    //    function, so words naming it stay relocated against it);
    //  - other allocated sections are "aw" when writable, else "a"; %nobits ones are
    //    written with ".space"; special types (the unwind index) are left out, the
    //    assembler makes them from the code's own directives.
    // The output carries no ".arch": the reader picks it (at ARMv6-M the assembler
    // spells "nop" as the old register move, so assemble with v7-M).
    void disassembleFile(FILE* out, const ElfFile& file);

    // The listing form of the code sections, for views and for checking the decoder
    // against other disassemblers: the same walk as disassembleFile, each instruction
    // as "%08X  " (its address) and the 12-character encoding column before its text,
    // data inside code as "%08X    .word 0x%08X" (".short", ".byte"), and each section
    // headed "--- <name>", the ".thumb"/".arm" switches kept. Other sections and
    // symbols are left out.
    void listCode(FILE* out, const ElfFile& file);

    MyARMInstructionSetDisassembler& decoder() { return *decoder_; }
    // Where what is wrong in the file (a relocation without its symbol) is told.
    void setReportStream(FILE* reports) { reports_ = reports; }

    uint32_t one = 1;
    uint32_t architecture;
    bool bigEndian;
    bool instructionsLittleEndian;

private:
    uint32_t readHalf(const uint8_t* p) const;
    uint32_t readWord(const uint8_t* p) const;
    void writeFile(FILE* out, const ElfFile& file, bool listing);
    std::unique_ptr<MyARMInstructionSetDisassembler> decoder_;
    FILE* reports_ = stderr;
};

// Disassembly by machine: ARM is decoded, the machines this tool knows but does not
// decode throw HException("<name> disassembly not supported."), others are ignored.
void disassembleForMachine(FILE* out, FILE* err, const ElfFile& file, const QString& arch);
