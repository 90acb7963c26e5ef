#pragma once
#include <cstdint>
#include <cstdio>

class ElfFile;
namespace QTx {
class TextLine;
}

// The bytes of one unwind or call-frame section and what reading them needs from
// the file around them.
struct FrameSection {
    const uint8_t* data = nullptr;
    uint64_t size = 0;
    uint64_t address = 0; // sh_addr: PC-relative pointers are relative to it
    bool ehFrame = false; // .eh_frame rather than .debug_frame
    bool bigEndian = false;
    unsigned addressSize = 4; // of the ELF class: 4 or 8
};

// Every CIE and FDE of a .debug_frame or .eh_frame section, record by record, with
// their call-frame instructions decoded.
void printCallFrames(QTx::TextLine& out, const FrameSection& section);
// The header and the sorted lookup table of an .eh_frame_hdr section.
void printEhFrameHeader(QTx::TextLine& out, const FrameSection& section);
// The language-specific data areas (call sites, actions, type tables) that a
// .gcc_except_table section holds one after another.
void printExceptionTable(QTx::TextLine& out, const FrameSection& section);

// -unwind: .eh_frame, .eh_frame_hdr and the exception tables, each section under
// its name.
void printUnwindTables(const ElfFile& file, FILE* out);
// -dwarf-frame: .debug_frame under its name.
void printDebugFrame(const ElfFile& file, FILE* out);
