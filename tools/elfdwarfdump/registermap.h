#pragma once
#include <cstdio>

class ElfFile;

// The XML register map: for every pointer variable in .data, the peripheral it points
// at, with one register element per member of the structure it is typed as.
void printRegisterMap(const ElfFile& file, FILE* out, FILE* err);
