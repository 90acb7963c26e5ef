#include "elf/armattributes.h"

#include <cstring>

#include "elf/byteorder.h"

using namespace ArmAttributeNames;

namespace {

// ULEB128 within [p, end); a number cut off by the end keeps what was read.
uint64_t uleb(const uint8_t*& p, const uint8_t* end)
{
    uint64_t v = 0;
    unsigned shift = 0;
    while (p < end) {
        const uint8_t b = *p++;
        if (shift < 64)
            v |= uint64_t(b & 0x7F) << shift;
        shift += 7;
        if (!(b & 0x80))
            break;
    }
    return v;
}

// A NUL-terminated string within [p, end); one cut off by the end keeps its bytes.
std::string ntbs(const uint8_t*& p, const uint8_t* end)
{
    const uint8_t* nul = static_cast<const uint8_t*>(memchr(p, 0, size_t(end - p)));
    const uint8_t* stop = nul ? nul : end;
    std::string s(reinterpret_cast<const char*>(p), size_t(stop - p));
    p = nul ? nul + 1 : end;
    return s;
}

std::string quoted(const std::string& s)
{
    return "\"" + s + "\"";
}

} // namespace

uint64_t ArmAttributes::fileValue(uint32_t tag, uint64_t fallback) const
{
    for (const Attribute& a : attributes_) {
        if (a.scope == File && a.tag == tag && !a.isString)
            return a.number;
    }
    return fallback;
}

void ArmAttributes::decodeAttributes(const uint8_t*& p, const uint8_t* end, int scope)
{
    while (p < end) {
        Attribute a;
        a.scope = scope;
        const uint64_t tag = uleb(p, end);
        a.tag = tag > UINT32_MAX ? UINT32_MAX : uint32_t(tag);
        std::string line = "  " + tagName(a.tag) + ": ";
        if (a.tag == Tag_compatibility) {
            // A flag, then the name of the vendor whose rules apply.
            a.number = uleb(p, end);
            a.text = ntbs(p, end);
            line += std::to_string(a.number) + " " + quoted(a.text);
        } else if (a.tag == Tag_also_compatible_with) {
            // A string that holds one more attribute: its tag, then its value.
            const uint8_t* nested = p;
            const std::string bytes = ntbs(p, end);
            const uint8_t* q = nested;
            const uint8_t* qend = nested + bytes.size();
            a.isString = true;
            a.nestedTag = uint32_t(uleb(q, qend));
            a.text = bytes;
            if (takesString(a.nestedTag)) {
                line += tagName(a.nestedTag) + " " + quoted(std::string(reinterpret_cast<const char*>(q), qend - q));
            } else {
                // A value of 0 is the string's terminator itself.
                a.number = uleb(q, qend);
                line += tagName(a.nestedTag) + " " + valueText(a.nestedTag, a.number);
            }
        } else if (takesString(a.tag)) {
            a.isString = true;
            a.text = ntbs(p, end);
            line += quoted(a.text);
        } else {
            a.number = uleb(p, end);
            line += valueText(a.tag, a.number);
        }
        lines_.push_back(line);
        attributes_.push_back(std::move(a));
    }
}

void ArmAttributes::decode(const uint8_t* data, uint64_t size, bool bigEndian)
{
    lines_.clear();
    attributes_.clear();
    if (size < 1 || data[0] != 'A')
        return;
    const uint8_t* p = data + 1;
    const uint8_t* end = data + size;
    while (end - p >= 4) {
        const uint8_t* start = p;
        uint64_t length = ElfBytes::u32(p, bigEndian);
        // A length that runs past the section is cut back to what is there.
        if (length < 4 || length > uint64_t(end - start)) {
            lines_.push_back("subsection length " + std::to_string(length) + " runs past the section");
            length = uint64_t(end - start);
        }
        const uint8_t* subEnd = start + length;
        p = start + 4;
        const std::string vendor = ntbs(p, subEnd);
        if (vendor != "aeabi") {
            // Other vendors' attributes have their own meanings: only their size is known.
            lines_.push_back("Vendor " + quoted(vendor) + ": " + std::to_string(subEnd - p) + " bytes");
            p = subEnd;
            continue;
        }
        lines_.push_back("Vendor \"aeabi\"");
        while (p < subEnd) {
            const uint8_t* scopeStart = p;
            const uint64_t scope = uleb(p, subEnd);
            if (subEnd - p < 4) {
                p = subEnd;
                break;
            }
            uint64_t scopeLength = ElfBytes::u32(p, bigEndian);
            p += 4;
            if (scopeLength < uint64_t(p - scopeStart) || scopeLength > uint64_t(subEnd - scopeStart)) {
                lines_.push_back("attribute block length " + std::to_string(scopeLength) + " runs past the subsection");
                scopeLength = uint64_t(subEnd - scopeStart);
            }
            const uint8_t* scopeEnd = scopeStart + scopeLength;
            if (scope == File) {
                lines_.push_back("Tag_File");
            } else if (scope == Section || scope == Symbol) {
                // The section or symbol indexes the attributes apply to, up to a 0.
                std::string line = scope == Section ? "Tag_Section:" : "Tag_Symbol:";
                while (p < scopeEnd) {
                    const uint64_t index = uleb(p, scopeEnd);
                    if (index == 0)
                        break;
                    line += ' ';
                    line += std::to_string(index);
                }
                lines_.push_back(line);
            } else {
                lines_.push_back(tagName(uint32_t(scope > UINT32_MAX ? UINT32_MAX : scope)) + ": " +
                                 std::to_string(scopeEnd - p) + " bytes");
                p = scopeEnd;
                continue;
            }
            decodeAttributes(p, scopeEnd, int(scope));
            p = scopeEnd;
        }
        p = subEnd;
    }
}
