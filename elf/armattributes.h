#pragma once
#include <cstdint>
#include <string>
#include <vector>

// ARM build attributes (the ".ARM.attributes" section): which architecture, FPU and
// ABI options an object was built for. Read by the attribute listing and by the
// disassembler.
class ArmAttributes {
public:
    enum Scope { File = 1, Section = 2, Symbol = 3 };

    struct Attribute {
        int scope = File;
        uint32_t tag = 0;
        bool isString = false;
        uint64_t number = 0; // numeric value, or the flag of Tag_compatibility
        std::string text;    // string value, or the vendor of Tag_compatibility
        uint32_t nestedTag = 0; // Tag_also_compatible_with: the attribute it carries
    };

    // Decodes a whole section (the version byte 'A' first). Only "aeabi" subsections
    // are decoded; others are kept as vendor names with their size.
    void decode(const uint8_t* data, uint64_t size, bool bigEndian);

    // One line per subsection, scope and attribute, for the listing.
    const std::vector<std::string>& lines() const { return lines_; }
    const std::vector<Attribute>& attributes() const { return attributes_; }
    // The value of a file-scope numeric attribute, or `fallback`.
    uint64_t fileValue(uint32_t tag, uint64_t fallback) const;

private:
    void decodeAttributes(const uint8_t*& p, const uint8_t* end, int scope);

    std::vector<std::string> lines_;
    std::vector<Attribute> attributes_;
};

namespace ArmAttributeNames {
constexpr uint32_t Tag_CPU_raw_name = 4;
constexpr uint32_t Tag_CPU_name = 5;
constexpr uint32_t Tag_CPU_arch = 6;
constexpr uint32_t Tag_FP_arch = 10;
constexpr uint32_t Tag_Advanced_SIMD_arch = 12;
constexpr uint32_t Tag_compatibility = 32;
constexpr uint32_t Tag_MVE_arch = 48;
constexpr uint32_t Tag_nodefaults = 64;
constexpr uint32_t Tag_also_compatible_with = 65;
constexpr uint32_t Tag_conformance = 67;

// The tag's name, or "unknown tag N".
std::string tagName(uint32_t tag);
// Whether the tag's value is a NUL-terminated string rather than a ULEB128 number.
bool takesString(uint32_t tag);
// The value as the listing prints it: a name for the architecture tags, the number otherwise.
std::string valueText(uint32_t tag, uint64_t value);
} // namespace ArmAttributeNames
