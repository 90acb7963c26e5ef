// The register map walks the debug information of the variables that hold the base
// addresses of peripherals: pointer, qualifiers and typedefs, then the register
// structure, whose members become registers with their offsets, sizes and bit fields.
//
// Choices for what the types do not say directly:
// - an array of registers gives one register per element, named "NAME[i]";
// - a nested structure gives its members with the names "OUTER.INNER";
// - a union gives one register: its first member that is not a structure, with the bit
//   fields of its structure-of-bit-fields members (the usual "CR1 / CR1_b" pair);
// - members whose names start with "RESERVED", and bytes that no member covers
//   (padding), are written as registers named "Reserved";
// - a register whose type has no size (an incomplete type) is written without a size
//   attribute, as an element that holds its bit fields.
#include "tools/elfdwarfdump/registermap.h"

#include <string>
#include <unordered_map>
#include <vector>

#include "dwarf/dwarffile.h"
#include "dwarf/locationevaluator.h"
#include "elf/byteorder.h"
#include "elf/elffile.h"

namespace {

enum : uint32_t {
    DW_TAG_array_type = 0x01, DW_TAG_class_type = 0x02, DW_TAG_member = 0x0d, DW_TAG_pointer_type = 0x0f,
    DW_TAG_compile_unit = 0x11, DW_TAG_structure_type = 0x13, DW_TAG_typedef = 0x16, DW_TAG_union_type = 0x17,
    DW_TAG_subrange_type = 0x21, DW_TAG_const_type = 0x26, DW_TAG_variable = 0x34, DW_TAG_volatile_type = 0x35,
    DW_TAG_restrict_type = 0x37, DW_TAG_atomic_type = 0x47,
    DW_AT_name = 0x03, DW_AT_byte_size = 0x0b, DW_AT_bit_offset = 0x0c, DW_AT_bit_size = 0x0d,
    DW_AT_upper_bound = 0x2f, DW_AT_count = 0x37, DW_AT_data_member_location = 0x38, DW_AT_specification = 0x47,
    DW_AT_type = 0x49, DW_AT_data_bit_offset = 0x6b,
};

// A type chain longer than this is a loop in a damaged file.
constexpr int maxTypeSteps = 64;
// Arrays of registers larger than this are not peripherals; they are cut here.
constexpr uint64_t maxArrayElements = 4096;

using Entry = DwarfDebuggingInformationEntry;

std::string_view nameOf(const Entry* e)
{
    const DwarfAttributeValue* v = e ? e->findAttribute(DW_AT_name) : nullptr;
    return v ? v->text() : std::string_view();
}

uint64_t numberOf(const Entry* e, uint32_t attribute, uint64_t fallback)
{
    const DwarfAttributeValue* v = e ? e->findAttribute(attribute) : nullptr;
    if (!v || v->valueClass == DwarfAttributeValue::Block || v->valueClass == DwarfAttributeValue::String)
        return fallback;
    // Sizes and offsets shared by many members are written once, in the abbreviation.
    if (v->hasImplicitConstant())
        return uint64_t(v->implicitConstant());
    return v->value;
}

const Entry* typeOf(const Entry* e)
{
    const DwarfAttributeValue* v = e ? e->findAttribute(DW_AT_type) : nullptr;
    return v ? e->referencedBy(*v) : nullptr;
}

// Past typedefs and qualifiers to the type that says what the object is.
const Entry* stripped(const Entry* type)
{
    for (int i = 0; type && i < maxTypeSteps; ++i) {
        switch (type->tag) {
        case DW_TAG_typedef: case DW_TAG_const_type: case DW_TAG_volatile_type: case DW_TAG_restrict_type:
        case DW_TAG_atomic_type:
            type = typeOf(type);
            break;
        default:
            return type;
        }
    }
    return nullptr;
}

// A member's offset: a constant, or an expression run with the structure's address (0) pushed.
uint64_t memberOffset(const Entry* member)
{
    const DwarfAttributeValue* v = member->findAttribute(DW_AT_data_member_location);
    if (!v)
        return 0;
    if (v->hasImplicitConstant())
        return uint64_t(v->implicitConstant());
    if (v->valueClass != DwarfAttributeValue::Block)
        return v->value;
    MyDwarfLocationExpressionEvaluator evaluator;
    std::vector<DwarfStackEntry> stack;
    evaluator.evaluate(stack, member, v->bytes(), v->value, true);
    return stack.empty() ? 0 : stack.back().value;
}

uint64_t arrayCount(const Entry* array)
{
    uint64_t count = 1;
    bool any = false;
    for (const Entry* sub = array->child; sub; sub = sub->sibling) {
        if (sub->tag != DW_TAG_subrange_type)
            continue;
        any = true;
        uint64_t n = numberOf(sub, DW_AT_count, 0);
        if (!sub->findAttribute(DW_AT_count))
            n = sub->findAttribute(DW_AT_upper_bound) ? numberOf(sub, DW_AT_upper_bound, 0) + 1 : 0;
        count = n && count <= maxArrayElements / n ? count * n : maxArrayElements;
    }
    return any ? std::min(count, maxArrayElements) : 0;
}

bool isAggregate(const Entry* t)
{
    return t && (t->tag == DW_TAG_structure_type || t->tag == DW_TAG_class_type || t->tag == DW_TAG_union_type);
}

struct BitField {
    std::string_view name;
    uint64_t start;
    uint64_t size;
};

// The bit position of a bit-field member inside a register that starts at `registerOffset`
// (bytes from the structure). DWARF 4 and later give the offset from the structure's
// start; DWARF 2 and 3 count from the most significant bit of the member's storage.
BitField bitFieldOf(const Entry* member, uint64_t memberByteOffset, uint64_t registerOffset, bool bigEndian)
{
    BitField f{nameOf(member), 0, numberOf(member, DW_AT_bit_size, 0)};
    if (member->findAttribute(DW_AT_data_bit_offset)) {
        f.start = numberOf(member, DW_AT_data_bit_offset, 0) - 8 * registerOffset;
    } else {
        const uint64_t storageBits = 8 * numberOf(member, DW_AT_byte_size, numberOf(stripped(typeOf(member)), DW_AT_byte_size, 4));
        const uint64_t fromTop = numberOf(member, DW_AT_bit_offset, 0);
        const uint64_t lsb = bigEndian ? fromTop : storageBits - fromTop - f.size;
        f.start = 8 * (memberByteOffset - registerOffset) + lsb;
    }
    return f;
}

bool allBitFields(const Entry* structure)
{
    bool any = false;
    for (const Entry* m = structure->child; m; m = m->sibling) {
        if (m->tag != DW_TAG_member)
            continue;
        if (!m->findAttribute(DW_AT_bit_size))
            return false;
        any = true;
    }
    return any;
}

class Writer {
public:
    Writer(FILE* out, bool bigEndian) : out_(out), bigEndian_(bigEndian) {}

    void structure(const Entry* type, uint64_t base, const std::string& prefix);

private:
    struct Pending {
        const Entry* type;
        uint64_t base;
        std::string prefix;
    };
    void member(const Entry* m, uint64_t base, const std::string& prefix, std::vector<Pending>& work);
    void unionRegister(const Entry* type, uint64_t offset, const std::string& name);
    void scalar(const std::string& name, uint64_t offset, const Entry* type, const std::vector<BitField>& fields);
    void reserved(uint64_t offset, uint64_t size);
    static std::string xml(std::string_view s);

    FILE* out_;
    bool bigEndian_;
    uint64_t covered_ = 0; // end of the last register written, for the padding rule
};

std::string Writer::xml(std::string_view s)
{
    std::string r;
    for (char c : s) {
        switch (c) {
        case '&': r += "&amp;"; break;
        case '<': r += "&lt;"; break;
        case '>': r += "&gt;"; break;
        case '"': r += "&quot;"; break;
        default: r += c;
        }
    }
    return r;
}

void Writer::reserved(uint64_t offset, uint64_t size)
{
    fprintf(out_, "  <Register name=\"Reserved\" start=\"+0x%04x\" size=\"%d\" access=\"Read/Write\"/>\n", unsigned(offset),
            int(size));
}

void Writer::scalar(const std::string& name, uint64_t offset, const Entry* type, const std::vector<BitField>& fields)
{
    if (offset > covered_)
        reserved(covered_, offset - covered_);
    const bool sized = type && type->findAttribute(DW_AT_byte_size);
    const uint64_t size = numberOf(type, DW_AT_byte_size, 0);
    const std::string n = xml(name);
    if (!sized)
        fprintf(out_, "  <Register name=\"%s\" start=\"+0x%04x\" access=\"%s\">\n", n.c_str(), unsigned(offset),
                "Read/Write");
    else if (fields.empty())
        fprintf(out_, "  <Register name=\"%s\" start=\"+0x%04x\" size=\"%d\" access=\"%s\"/>\n", n.c_str(),
                unsigned(offset), int(size), "Read/Write");
    else
        fprintf(out_, "  <Register name=\"%s\" start=\"+0x%04x\" size=\"%d\" access=\"%s\">\n", n.c_str(),
                unsigned(offset), int(size), "Read/Write");
    for (const BitField& f : fields) {
        if (!f.name.empty())
            fprintf(out_, "    <BitField name=\"%s\" start=\"%d\" size=\"%d\"/>\n", xml(f.name).c_str(), int(f.start),
                    int(f.size));
    }
    if (!sized || !fields.empty())
        fputs("  </Register>\n", out_);
    covered_ = std::max(covered_, offset + size);
}

void Writer::unionRegister(const Entry* type, uint64_t offset, const std::string& name)
{
    const Entry* word = nullptr;
    std::string wordName = name;
    std::vector<BitField> fields;
    for (const Entry* m = type->child; m; m = m->sibling) {
        if (m->tag != DW_TAG_member)
            continue;
        const Entry* t = stripped(typeOf(m));
        const uint64_t at = offset + memberOffset(m);
        if (isAggregate(t) && allBitFields(t)) {
            for (const Entry* f = t->child; f; f = f->sibling) {
                if (f->tag == DW_TAG_member)
                    fields.push_back(bitFieldOf(f, at + memberOffset(f) - offset, 0, bigEndian_));
            }
        } else if (!word && !isAggregate(t)) {
            word = t;
            if (!nameOf(m).empty())
                wordName = name.empty() ? std::string(nameOf(m)) : name + "." + std::string(nameOf(m));
        }
    }
    if (!word)
        word = type;
    scalar(wordName.empty() ? std::string("Reserved") : wordName, offset, word, fields);
}

void Writer::member(const Entry* m, uint64_t base, const std::string& prefix, std::vector<Pending>& work)
{
    const std::string_view own = nameOf(m);
    const std::string name = prefix + std::string(own);
    const uint64_t offset = base + memberOffset(m);
    const Entry* type = stripped(typeOf(m));
    if (own.size() >= 8 && std::string(own.substr(0, 8)) == "RESERVED") {
        const uint64_t size = type && type->tag == DW_TAG_array_type
                                  ? arrayCount(type) * numberOf(stripped(typeOf(type)), DW_AT_byte_size, 0)
                                  : numberOf(type, DW_AT_byte_size, 0);
        if (offset > covered_)
            reserved(covered_, offset - covered_);
        reserved(offset, size);
        covered_ = std::max(covered_, offset + size);
        return;
    }
    if (type && type->tag == DW_TAG_array_type) {
        const Entry* element = stripped(typeOf(type));
        const uint64_t size = numberOf(element, DW_AT_byte_size, 0);
        const uint64_t count = arrayCount(type);
        for (uint64_t i = 0; i < count; ++i) {
            const std::string elementName = name + "[" + std::to_string(i) + "]";
            if (isAggregate(element) && element->tag != DW_TAG_union_type)
                structure(element, offset + i * size, elementName + ".");
            else if (element && element->tag == DW_TAG_union_type)
                unionRegister(element, offset + i * size, elementName);
            else
                scalar(elementName, offset + i * size, element, {});
        }
        return;
    }
    if (type && type->tag == DW_TAG_union_type) {
        unionRegister(type, offset, name);
        return;
    }
    if (isAggregate(type)) {
        if (allBitFields(type)) {
            std::vector<BitField> fields;
            for (const Entry* f = type->child; f; f = f->sibling) {
                if (f->tag == DW_TAG_member)
                    fields.push_back(bitFieldOf(f, memberOffset(f), 0, bigEndian_));
            }
            scalar(name, offset, type, fields);
            return;
        }
        work.push_back({type, offset, name.empty() ? std::string() : name + "."});
        return;
    }
    scalar(name, offset, type, {});
}

void Writer::structure(const Entry* type, uint64_t base, const std::string& prefix)
{
    // Nested structures are walked with a stack of open structures rather than by
    // recursion; each frame remembers the next member to write, so members come out in
    // their order with nested ones in place.
    struct Frame {
        const Entry* next;
        uint64_t base;
        std::string prefix;
    };
    std::vector<Frame> frames{{type->child, base, prefix}};
    while (!frames.empty()) {
        Frame& f = frames.back();
        const Entry* m = f.next;
        if (!m) {
            frames.pop_back();
            continue;
        }
        f.next = m->sibling;
        if (m->tag != DW_TAG_member)
            continue;
        std::vector<Pending> nested;
        member(m, f.base, f.prefix, nested);
        if (frames.size() < size_t(maxTypeSteps)) {
            for (const Pending& p : nested)
                frames.push_back({p.type->child, p.base, p.prefix});
        }
    }
}

// Global variables by name, from the top level of every unit.
std::unordered_map<std::string_view, const Entry*> globalVariables(DwarfFile& dwarf)
{
    std::unordered_map<std::string_view, const Entry*> byName;
    for (const auto& unit : dwarf.units()) {
        const Entry* root = unit->root();
        if (!root)
            continue;
        for (const Entry* e = root->child; e; e = e->sibling) {
            if (e->tag != DW_TAG_variable)
                continue;
            std::string_view name = nameOf(e);
            const Entry* declaration = e->getSpecification();
            if (name.empty() && declaration)
                name = nameOf(declaration);
            if (!name.empty())
                byName.emplace(name, e);
        }
    }
    return byName;
}

} // namespace

void printRegisterMap(const ElfFile& file, FILE* out, FILE* err)
{
    MyDwarfFile dwarf(err);
    dwarf.open(file, false);
    const auto variables = globalVariables(dwarf);
    const bool be = !file.isLittleEndian();
    fputs("<Root>\n", out);
    // The named symbols, by name: mapping symbols and local labels are not variables.
    for (const ElfSymbol* sym : file.namedSymbols()) {
        const ElfSection* section = file.sectionOfSymbol(sym);
        if (!section || section->name != ".data" || sym->name.starts_with("__") || sym->name.empty())
            continue;
        // The variable's initial value, in the file, is the peripheral's base address.
        uint32_t base = 0;
        const uint64_t at = sym->st_value - section->sh_addr;
        if (section->data && sym->st_value >= section->sh_addr && section->dataSize >= 4 && at <= section->dataSize - 4)
            base = ElfBytes::u32(section->data + at, be);
        const std::string name(sym->name);
        fprintf(out, "<RegisterGroup name=\"%s\" start=\"0x%08x\">\n", name.c_str(), base);
        auto found = variables.find(sym->name);
        if (found == variables.end()) {
            fprintf(out, "ddie for %s not found\n", name.c_str());
        } else {
            const Entry* pointer = stripped(typeOf(found->second));
            const Entry* target = pointer && pointer->tag == DW_TAG_pointer_type ? stripped(typeOf(pointer)) : nullptr;
            if (isAggregate(target)) {
                Writer writer(out, be);
                writer.structure(target, 0, "");
            }
        }
        fputs("</RegisterGroup>\n", out);
    }
    fputs("</Root>\n", out);
}
