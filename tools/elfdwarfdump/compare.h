#pragma once
#include <QString>
#include <cstdio>
#include <string_view>

class ElfFile;
class ElfSymbol;

// Compares the input with a second build of the same program. With `symbols`, the
// sizes of like-named symbols (reports on `out`); otherwise the contents of loaded
// sections, halfword by halfword (reports on `err`).
void compareElfFiles(const ElfFile& first, const QString& firstPath, const ElfFile& second,
                     const QString& secondPath, bool symbols, FILE* out, FILE* err);

// The symbol of that name; failing that, for a name with a full stop (a local static
// such as "count.1234"), the first symbol whose name starts with the part before it.
const ElfSymbol* findSymbolLoose(const ElfFile& file, std::string_view name);

// Whether two different Thumb halfwords do the same thing: add or subtract of an
// immediate in its 3-bit and 8-bit forms, or the two encodings of a no-operation.
bool equivalentThumbHalfwords(uint16_t a, uint16_t b);
