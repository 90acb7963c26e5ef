#pragma once
#include <QString>
#include <cstdint>
#include <cstdio>
#include <string>

class ElfFile;

// How full each memory region of the list "NAME,START,SIZE,..." is with the file's
// loaded sections. Returns false, after printing "invalid segment ..." on `err` and
// nothing on `out`, when the list cannot be read.
bool printMemoryUsage(const ElfFile& file, const QString& regions, FILE* out, FILE* err);

// A size as the report writes it: "2 MB", "1.5 MB", "1 KB", "1023.9 KB", "255 B".
std::string memorySizeText(uint64_t value);

// A start or size of the region list: "0x" hex, a leading 0 octal, otherwise
// decimal; nothing else (no sign, no spaces, no value above 64 bits) is accepted.
bool parseRegionNumber(const QString& text, uint64_t* value);
