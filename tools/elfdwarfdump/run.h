#pragma once
#include <QStringList>
#include <cstdio>

class DwarfDumpArgParse;
class ElfFile;

// One whole run of the tool: arguments (the program name first) in, exit status out.
// It never calls exit, so tests and fuzzers can drive it in-process.
int runElfDwarfDump(const QStringList& arguments, FILE* standardOutput, FILE* standardError);

// The selected listings of one ELF file (a library member when `inArchive`), in their
// fixed order. Returns the exit status; a file that cannot be read throws HException.
int dumpElfFile(const DwarfDumpArgParse& args, ElfFile& file, bool inArchive, FILE* out, FILE* err);

// The archive path: symbol index, then every member. Returns the exit status. When
// the image is a read-only file mapping (`mapped`), the pages of each member are handed
// back once it is done, so that a large library never needs more than one member's
// worth of memory at a time.
int dumpArchive(const DwarfDumpArgParse& args, const uint8_t* image, uint64_t size, const QString& path,
                FILE* out, FILE* err, bool mapped = false);
