#include "elf/elfnames.h"

namespace ElfNames {

std::string_view sectionType(uint32_t type)
{
    switch (type) {
    case 0: return "SHT_NULL";
    case 1: return "SHT_PROGBITS";
    case 2: return "SHT_SYMTAB";
    case 3: return "SHT_STRTAB";
    case 4: return "SHT_RELA";
    case 5: return "SHT_HASH";
    case 6: return "SHT_DYNAMIC";
    case 7: return "SHT_NOTE";
    case 8: return "SHT_NOBITS";
    case 9: return "SHT_REL";
    case 10: return "SHT_SHLIB";
    case 11: return "SHT_DYNSYM";
    case 14: return "SHT_INIT_ARRAY";
    case 15: return "SHT_FINI_ARRAY";
    case 16: return "SHT_PREINIT_ARRAY";
    case 17: return "SHT_GROUP";
    case 18: return "SHT_SYMTAB_SHNDX";
    case 0x70000000: return "SHT_LOPROC";
    case 0x70000001: return "SHT_ARM_EXIDX";
    case 0x70000002: return "SHT_ARM_PREEMPTMAP";
    case 0x70000003: return "SHT_ARM_ATTRIBUTES";
    case 0x70000004: return "SHT_ARM_DEBUGOVERLAY";
    case 0x70000005: return "SHT_ARM_OVERLAYSECTION";
    case 0x7FFFFFFF: return "SHT_HIPROC";
    case 0x80000000: return "SHT_LOUSER";
    case 0xFFFFFFFF: return "SHT_HIUSER";
    default: return "UNKNOWN section type";
    }
}

std::string_view programType(uint32_t type)
{
    switch (type) {
    case 0: return "PT_NULL";
    case 1: return "PT_LOAD";
    case 2: return "PT_DYNAMIC";
    case 3: return "PT_INTERP";
    case 4: return "PT_NOTE";
    case 5: return "PT_SHLIB";
    case 6: return "PT_PHDR";
    case 7: return "PT_TLS";
    case 0x60000000: return "PT_LOOS";
    case 0x6FFFFFFF: return "PT_HIOS";
    case 0x70000001: return "EXIDX";
    case 0x6474E551: return "GNU_STACK";
    default: return "";
    }
}

std::string_view symbolType(uint8_t type)
{
    static constexpr std::string_view names[16] = {"NOTYPE", "OBJECT", "FUNC", "SECTION", "FILE", "COMMON",
                                                   "TLS",    "",       "",     "",        "LOOS", "",
                                                   "HIOS",   "LOPROC", "",     "HIPROC"};
    return names[type & 0xF];
}

std::string_view symbolBinding(uint8_t bind)
{
    static constexpr std::string_view names[16] = {"LOCAL", "GLOBAL", "WEAK", "", "", "", "", "",
                                                   "",      "",       "LOOS", "", "HIOS", "LOPROC", "", "HIPROC"};
    return names[bind & 0xF];
}

std::string_view symbolVisibility(uint8_t other)
{
    static constexpr std::string_view names[7] = {"DEFAULT", "INTERNAL", "HIDDEN",   "PROTECTED",
                                                  "EXPORTED", "SINGLETON", "ELIMINATE"};
    return other < 7 ? names[other] : std::string_view("");
}

std::string_view armRelocationType(uint8_t type)
{
    switch (type) {
    case 2: return "R_ARM_ABS32";
    case 3: return "R_ARM_REL32";
    case 10: return "R_ARM_THM_CALL";
    case 28: return "R_ARM_CALL";
    case 29: return "R_ARM_JUMP24";
    case 30: return "R_ARM_THM_JUMP24";
    case 38: return "R_ARM_TARGET1";
    case 40: return "R_ARM_V4BX";
    case 42: return "R_ARM_PREL31";
    case 43: return "R_ARM_MOVW_ABS_NC";
    case 44: return "R_ARM_MOVT_ABS";
    case 47: return "R_ARM_THM_MOVW_ABS_NC";
    case 48: return "R_ARM_THM_MOVT_ABS";
    default: return "";
    }
}

std::string_view ltoKind(uint8_t kind)
{
    static constexpr std::string_view names[5] = {"LDPK_DEF", "LDPK_WEAKDEF", "LDPK_UNDEF", "LDPK_WEAKUNDEF",
                                                  "LDPK_COMMON"};
    return kind < 5 ? names[kind] : "(null)";
}

std::string_view ltoVisibility(uint8_t visibility)
{
    static constexpr std::string_view names[4] = {"LDPV_DEFAULT", "LDPV_PROTECTED", "LDPV_INTERNAL",
                                                  "LDPV_HIDDEN"};
    return visibility < 4 ? names[visibility] : "(null)";
}

} // namespace ElfNames
