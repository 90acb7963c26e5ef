#pragma once
#include <cstdint>
#include <string_view>

class DwarfUnit;

// One attribute of an entry. Values point into the section images; nothing is copied.
struct DwarfAttributeValue {
    enum Class : uint8_t {
        Constant = 0,  // address, unsigned constant, flag, list index or type signature
        Signed = 1,    // signed constant
        Block = 2,     // block or expression: `value` bytes at `data`
        Reference = 3, // reference, section offset or indexed address
        String = 4,    // text: `value` bytes at `data`
    };
    uint32_t attribute = 0;
    uint32_t form = 0; // the form actually read, after DW_FORM_indirect
    Class valueClass = Constant;
    uint64_t value = 0;
    const void* data = nullptr; // block bytes, string text, or for a unit-relative reference its unit

    int64_t signedValue() const { return int64_t(value); }
    std::string_view text() const
    {
        return valueClass == String && data ? std::string_view(static_cast<const char*>(data), value)
                                            : std::string_view();
    }
    const uint8_t* bytes() const { return static_cast<const uint8_t*>(data); }
    // A DW_FORM_implicit_const attribute reads as 0 (the form is not supported as a
    // value); its constant, kept in the abbreviation table, is here for the readers
    // that interpret types, such as the register map.
    bool hasImplicitConstant() const { return form == 0x21 && data; }
    int64_t implicitConstant() const { return hasImplicitConstant() ? *static_cast<const int64_t*>(data) : 0; }
};

// One debugging information entry, in a first-child/next-sibling tree that its unit owns.
class DwarfDebuggingInformationEntry {
public:
    virtual ~DwarfDebuggingInformationEntry() = default;

    uint32_t tag = 0;
    uint32_t offset = 0; // in its section
    DwarfDebuggingInformationEntry* sibling = nullptr;
    DwarfDebuggingInformationEntry* child = nullptr;
    DwarfDebuggingInformationEntry* parent = nullptr;
    DwarfUnit* unit = nullptr;

    uint32_t attributeCount() const { return attributeCount_; }
    const DwarfAttributeValue& attributeAt(uint32_t i) const;
    const DwarfAttributeValue* findAttribute(uint32_t attribute) const;
    // The entries that DW_AT_abstract_origin and DW_AT_specification refer to.
    const DwarfDebuggingInformationEntry* getAbstractOrigin() const;
    const DwarfDebuggingInformationEntry* getSpecification() const;
    // The entry a reference attribute refers to, or null.
    const DwarfDebuggingInformationEntry* referencedBy(const DwarfAttributeValue& value) const;

private:
    friend class DwarfUnit;
    uint32_t firstAttribute_ = 0; // in the unit's attribute store
    uint32_t attributeCount_ = 0;
};

class DwarfDebuggingInformationSubprogram : public DwarfDebuggingInformationEntry {};
class DwarfDebuggingInformationVariable : public DwarfDebuggingInformationEntry {};
