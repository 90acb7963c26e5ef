#pragma once
#include <cstdio>

class ElfFile;

// The two kinds of flash loader a debugger runs on the target. Each listing starts
// with the load range of every program header; a description that runs past the
// bytes of its section is printed line by line as far as its fields are there.

// -flm: a CMSIS flash algorithm: the ranges of PrgCode and PrgData and the device
// description in DevDscr with its sector list.
void printFlashAlgorithm(const ElfFile& file, FILE* out);

// -stldr: an external-memory loader: the StorageInfo structure with all ten of its
// sector entries.
void printExternalLoader(const ElfFile& file, FILE* out);
