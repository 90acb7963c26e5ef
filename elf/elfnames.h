#pragma once
#include <cstdint>
#include <string_view>

// Names of ELF codes as the listings print them.
namespace ElfNames {

std::string_view sectionType(uint32_t type);   // "UNKNOWN section type" when not known
std::string_view programType(uint32_t type);   // empty when not known: print the number
std::string_view symbolType(uint8_t type);     // st_info & 0xF
std::string_view symbolBinding(uint8_t bind);  // st_info >> 4
std::string_view symbolVisibility(uint8_t other);
std::string_view armRelocationType(uint8_t type); // empty when it has no name here
std::string_view ltoKind(uint8_t kind);        // "(null)" when not known
std::string_view ltoVisibility(uint8_t visibility);

} // namespace ElfNames
