#include "elf/armattributes.h"
#include "elf/elffile.h"
#include "elf/elflistings.h"

#include <cstring>

void printArmAttributes(const ElfFile& file, FILE* out)
{
    const ElfSection* s = file.sectionByName(".ARM.attributes");
    if (!s || !s->data || s->dataSize == 0)
        return;
    // Only a section in the known format whose first vendor is "aeabi" is listed.
    static const char aeabi[] = "aeabi";
    if (s->data[0] != 'A' || s->dataSize < 5 + sizeof aeabi || memcmp(s->data + 5, aeabi, sizeof aeabi) != 0)
        return;
    ArmAttributes attributes;
    attributes.decode(s->data, s->dataSize, !file.isLittleEndian());
    for (const std::string& line : attributes.lines())
        fprintf(out, "%s\n", line.c_str());
}
