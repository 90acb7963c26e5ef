#pragma once
#include <cstdint>
#include <cstdio>

class ElfFile;
class ElfSection;
class ElfProgram;

// The text listings of an ELF file's headers and symbols.
void printElfHeader(const ElfFile& file, FILE* out);
void printProgramHeader(const ElfProgram& program, FILE* out);
void printSectionHeader(const ElfSection& section, FILE* out);
// Rows of at most 16 bytes, each led by its address.
void printHexRows(const uint8_t* data, uint64_t size, uint64_t address, FILE* out);
void printSymbolTable(const ElfFile& file, FILE* out);
void printSymbolsSorted(const ElfFile& file, FILE* out);
void printLtoSymbols(const ElfFile& file, FILE* out);
// Sections, programs and symbols of a whole file, for interactive viewers.
void printSummary(const ElfFile& file, FILE* out);
