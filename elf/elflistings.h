#pragma once
#include <cstdint>
#include <cstdio>

class ElfFile;
class ElfSection;
class ElfProgram;
namespace QTx {
class TextLine;
}

// The text listings of an ELF file's headers and symbols.
void printElfHeader(const ElfFile& file, FILE* out);
// Every program header or section header, each followed by a hex dump of its
// contents when asked; warnings about contents cut short go to `err`.
void printProgramHeaders(const ElfFile& file, bool withData, FILE* out, FILE* err);
void printSectionHeaders(const ElfFile& file, bool withData, FILE* out, FILE* err);
void printProgramHeader(const ElfProgram& program, QTx::TextLine& line);
void printSectionHeader(const ElfSection& section, QTx::TextLine& line);
// Rows of at most 16 bytes, each led by its address.
void printHexRows(const uint8_t* data, uint64_t size, uint64_t address, QTx::TextLine& line);
void printSymbolTable(const ElfFile& file, FILE* out);
void printSymbolsSorted(const ElfFile& file, FILE* out);
void printLtoSymbols(const ElfFile& file, FILE* out);
// Relocation sections of loaded sections, entry by entry.
void printRelocations(const ElfFile& file, FILE* out, FILE* err);
// The ".stack_sizes" sections: stack usage per function.
void printStackSizes(const ElfFile& file, FILE* out);
// The ".ARM.attributes" section when it holds "aeabi" build attributes.
void printArmAttributes(const ElfFile& file, FILE* out);
// Sections, programs and symbols of a whole file, for interactive viewers.
void printSummary(const ElfFile& file, FILE* out);
