// Prints every code the DWARF name tables know as "family 0xcode name", one per
// line, for dwarfnames_llvm_test.py to hold against llvm-dwarfdump's names.
#include <cstdio>
#include <cstring>

#include "dwarf/dwarfnames.h"

int main()
{
    struct Family {
        const char* name;
        const char* (*function)(uint32_t);
    };
    static const Family families[] = {
        {"tag", DwarfNames::tag},
        {"attribute", DwarfNames::attribute},
        {"form", DwarfNames::form},
        {"language", DwarfNames::language},
        {"baseTypeEncoding", DwarfNames::baseTypeEncoding},
        {"accessibility", DwarfNames::accessibility},
        {"virtuality", DwarfNames::virtuality},
        {"visibility", DwarfNames::visibility},
        {"identifierCase", DwarfNames::identifierCase},
        {"callingConvention", DwarfNames::callingConvention},
        {"inlineCode", DwarfNames::inlineCode},
        {"ordering", DwarfNames::ordering},
        {"discriminant", DwarfNames::discriminant},
        {"lineStandardOpcode", DwarfNames::lineStandardOpcode},
        {"lineExtendedOpcode", DwarfNames::lineExtendedOpcode},
        {"lineContentType", DwarfNames::lineContentType},
        {"macroOpcode", DwarfNames::macroOpcode},
        {"macinfoOpcode", DwarfNames::macinfoOpcode},
        {"operation", DwarfNames::operation},
        {"locationListEntry", DwarfNames::locationListEntry},
        {"rangeListEntry", DwarfNames::rangeListEntry},
        {"unitType", DwarfNames::unitType},
        {"callFrameInstruction", DwarfNames::callFrameInstruction},
        {"exceptionPointerEncoding", DwarfNames::exceptionPointerEncoding},
    };
    // Every family's codes fit in 16 bits (tags, attributes and languages use the
    // whole range for vendor codes).
    for (const Family& family : families) {
        for (uint32_t code = 0; code <= 0xffff; ++code) {
            const char* name = family.function(code);
            if (strncmp(name, "unexpected ", 11) != 0)
                printf("%s 0x%x %s\n", family.name, code, name);
        }
    }
    return 0;
}
