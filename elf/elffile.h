#pragma once
#include <QString>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "elf/elfprogram.h"
#include "elf/elfsection.h"
#include "elf/elfsymbol.h"
#include "elf/hexception.h"
#include "elf/nameorder.h"

namespace ElfEm {
constexpr uint16_t EM_ARM = 40;
}

// One ELF object or executable held in memory whole. Every number is decoded into
// host order and widened to 64 bits; names and contents are read in place.
class ElfFile {
public:
    ElfFile(bool demangle = false, uint64_t loadBias = 0, uint64_t biasLimit = 0);
    virtual ~ElfFile();
    ElfFile(const ElfFile&) = delete;
    ElfFile& operator=(const ElfFile&) = delete;

    // Offsets inside an image are kept in 32 bits by the archive format and the 32-bit
    // ELF layouts: a file this big or bigger would be read modulo 4 GiB, so it is refused.
    static constexpr uint64_t maxImageSize = uint64_t(1) << 32;
    static constexpr const char* tooBigMessage = ": files of 4 GiB or more are not supported";

    // Reads the file whole and parses it; throws HException.
    void load(const QString& path);
    // Parses an image already in memory and takes ownership of it; throws HException.
    // `name` is the file name used in messages.
    bool parse(std::unique_ptr<uint8_t[]> image, uint64_t length, const QString& name);
    // Parses an image that stays owned by the caller (an archive member) and must outlive this object.
    bool parseView(const uint8_t* image, uint64_t length, const QString& name);

    // Writes the model (header, program and section headers, symbols) back over the
    // file at `path`; throws HException("cannot write <path>") and leaves the file as
    // it was when that cannot be done.
    void save(const QString& path) const;
    // The symbol of exactly this name among the named symbols, or null.
    ElfSymbol* symbolByName(std::string_view name) const;

    // The image byte at a file offset with `size` bytes available from there; throws
    // "truncated ELF file: " when they are not all inside the image.
    const uint8_t* pointerAt(uint64_t offset, uint64_t size = 1) const;

    const QString& fileName() const { return fileName_; }
    const uint8_t* image() const { return image_; }
    uint64_t imageSize() const { return imageSize_; }

    bool isLittleEndian() const { return image_[5] == 1; }
    bool is64() const { return image_[4] != 1; }
    uint64_t getEntryPoint() const { return e_entry; }

    int sectionCount() const { return int(sections_.size()); }
    ElfSection* sectionAt(int64_t index) const;
    ElfSection* sectionByName(std::string_view name) const;
    ElfSection* sectionByNameAndType(std::string_view name, uint32_t type) const;
    ElfSection* sectionOfSymbol(const ElfSymbol* symbol) const;
    ElfSection* relocationSectionFor(const ElfSection* section) const;

    int programCount() const { return int(programs_.size()); }
    ElfProgram* programAt(int index) const;
    ElfProgram* programByVirtualAddress(uint64_t address) const;
    ElfProgram* programByOffset(uint64_t value) const;
    bool rangeInProgram(uint64_t address, uint64_t length) const;

    int symbolCount() const { return int(symbolCount_); }
    ElfSymbol* symbolAt(int64_t index) const;
    ElfSymbol* symbolAtOrBefore(uint64_t address) const;
    uint64_t distanceToNextSymbol(const ElfSymbol* symbol) const;
    ElfSymbol* mappingSymbolAt(uint64_t address, const ElfSection* section) const;

    // Symbols with a usable name, by name; those of them in a section, by address;
    // the ARM mapping symbols ($a, $t, $d) of memory sections, by address.
    const std::vector<ElfSymbol*>& namedSymbols() const { return ensureLists(), named_; }
    const std::vector<ElfSymbol*>& definedSymbols() const { return ensureLists(), defined_; }
    const std::vector<ElfSymbol*>& mappingSymbols() const { return ensureLists(), mapping_; }
    // The mapping symbols of one section, by address.
    const std::vector<ElfSymbol*>& sectionMappingSymbols(const ElfSection* section) const
    {
        ensureLists();
        return section->index < sectionMapping_.size() ? sectionMapping_[section->index] : noSymbols_;
    }
    const std::vector<ElfSection*>& sectionsByName() const;
    ElfSection* symbolTable() const { return symtab_; }

    ElfSection* stringTable() const { return strtab_; }
    ElfSection* commentSection() const { return comment_; }
    bool demangles() const { return demangle_; }

    // Header fields in host order.
    uint16_t e_type = 0;
    uint16_t e_machine = 0;
    uint32_t e_version = 0;
    uint64_t e_entry = 0;
    uint64_t e_phoff = 0;
    uint64_t e_shoff = 0;
    uint32_t e_flags = 0;
    uint16_t e_ehsize = 0;
    uint16_t e_phentsize = 0;
    uint16_t e_phnum = 0;
    uint16_t e_shentsize = 0;
    uint16_t e_shnum = 0;
    uint16_t e_shstrndx = 0;

private:
    void clear();
    void encodeInto(uint8_t* copy) const;
    void parseImage();
    [[noreturn]] void fail(const char* what) const;
    void decodeHeader();
    void decodePrograms();
    void decodeSections();
    void nameSections();
    void decodeSymbols() const;
    void classifySymbols() const;
    std::string_view stringAt(uint64_t offset) const;
    // A library member's symbols are checked at load but decoded and sorted only when
    // a listing asks for them: most runs of a large archive never need them all.
    void ensureSymbols() const
    {
        if (!symbolsDecoded_)
            decodeSymbols();
    }
    void ensureLists() const
    {
        if (!listsBuilt_)
            classifySymbols();
    }
    void checkSymbolTable();
    ElfSection* findSectionInHeaderOrder(std::string_view name, uint32_t type, bool anyType) const;

    std::vector<ElfProgram> programs_;
    mutable std::vector<ElfSymbol*> named_;
    mutable std::vector<ElfSection*> sectionIndex_;
    mutable bool indexSorted_ = true;
    mutable std::vector<ElfSymbol*> symbols_;
    mutable std::vector<ElfSymbol> plainSymbols_;
    mutable std::vector<ARMElfSymbol> armSymbols_;
    mutable std::vector<ElfSymbol*> defined_;
    mutable std::vector<ElfSymbol*> mapping_;
    mutable std::vector<std::vector<ElfSymbol*>> sectionMapping_; // by section index
    const std::vector<ElfSymbol*> noSymbols_;
    mutable bool symbolsDecoded_ = true;
    mutable bool listsBuilt_ = true;
    const uint8_t* symbolTable_ = nullptr;
    uint64_t symbolCount_ = 0;
    mutable std::vector<std::unique_ptr<char[]>> demangledNames_;
    QString fileName_;
    QByteArray fileName8_;
    std::unique_ptr<uint8_t[]> ownedImage_;
    const uint8_t* image_ = nullptr;
    uint64_t imageSize_ = 0;
    ElfSection* strtab_ = nullptr;
    ElfSection* comment_ = nullptr;
    ElfSection* symtab_ = nullptr;
    ElfSection* symtabShndx_ = nullptr;
    bool demangle_;
    uint64_t loadBias_;
    uint64_t biasLimit_;
    bool bigEndian_ = false;
    bool is64_ = false;
    mutable std::vector<ElfSection> sections_;
};
