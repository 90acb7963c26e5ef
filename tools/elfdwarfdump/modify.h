#pragma once
#include <QString>
#include <cstdio>

class DwarfDumpArgParse;
class ElfFile;

// The options that patch the input file in place, in their fixed order, each saving
// the file by itself. Returns false after printing why when a save fails; the file on
// disk is then as it was before that save.
bool modifyElfFile(const DwarfDumpArgParse& args, ElfFile& file, bool inArchive, FILE* err);

// The changes themselves, on the model only.
void setVfpFlags(ElfFile& file);
void setObjectType(ElfFile& file);
void retagTiAttributes(ElfFile& file);
void setThumbBits(ElfFile& file);
