#include "elf/elffile.h"

#include <QFile>
#include <algorithm>
#include <cstring>

#include "elf/byteorder.h"
#include "elf/demangle.h"

using namespace ElfBytes;

namespace {
constexpr uint64_t ehdrSize32 = 52, ehdrSize64 = 64;
constexpr uint64_t phdrSize32 = 32, phdrSize64 = 56;
constexpr uint64_t shdrSize32 = 40, shdrSize64 = 64;
constexpr uint64_t symSize32 = 16, symSize64 = 24;

bool isLeadOfAstral(unsigned char c) { return c >= 0xF0; }
bool isLeadOfUpperBmp(unsigned char c) { return c == 0xEE || c == 0xEF; }

bool addressLess(const ElfSymbol* a, const ElfSymbol* b) { return a->address() < b->address(); }
} // namespace

bool nameLess(std::string_view a, std::string_view b)
{
    const size_t n = std::min(a.size(), b.size());
    const auto* pa = reinterpret_cast<const unsigned char*>(a.data());
    const auto* pb = reinterpret_cast<const unsigned char*>(b.data());
    // Mangled names share long prefixes: skip equal bytes eight at a time.
    size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        uint64_t wa, wb;
        memcpy(&wa, pa + i, 8);
        memcpy(&wb, pb + i, 8);
        if (wa != wb)
            break;
    }
    for (; i < n; ++i) {
        if (pa[i] == pb[i])
            continue;
        // UTF-8 orders by code point; UTF-16 puts characters above U+FFFF (surrogate
        // pairs) before U+E000..U+FFFF. Only that pair of ranges changes places.
        if (isLeadOfAstral(pa[i]) && isLeadOfUpperBmp(pb[i]))
            return true;
        if (isLeadOfUpperBmp(pa[i]) && isLeadOfAstral(pb[i]))
            return false;
        return pa[i] < pb[i];
    }
    return a.size() < b.size();
}

ElfFile::ElfFile(bool demangle, uint64_t loadBias, uint64_t biasLimit)
    : demangle_(demangle), loadBias_(loadBias), biasLimit_(biasLimit)
{
}

ElfFile::~ElfFile() = default;

void ElfFile::clear()
{
    symbols_.clear();
    plainSymbols_.clear();
    armSymbols_.clear();
    named_.clear();
    defined_.clear();
    mapping_.clear();
    sectionMapping_.clear();
    demangledNames_.clear();
    symbolTable_ = nullptr;
    symbolCount_ = 0;
    symbolsDecoded_ = true;
    listsBuilt_ = true;
    programs_.clear();
    sections_.clear();
    sectionIndex_.clear();
    ownedImage_.reset();
    image_ = nullptr;
    imageSize_ = 0;
    strtab_ = nullptr;
    comment_ = nullptr;
    symtab_ = nullptr;
    symtabShndx_ = nullptr;
}

void ElfFile::fail(const char* what) const
{
    throw HException(std::string(what) + fileName8_.constData());
}

void ElfFile::load(const QString& path)
{
    clear();
    fileName_ = path;
    fileName8_ = path.toLocal8Bit();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        fail("cannot open ");
    const qint64 size = file.size();
    if (size < 0)
        fail("cannot read ");
    if (uint64_t(size) >= maxImageSize)
        throw HException(std::string("cannot read ") + fileName8_.constData() + tooBigMessage);
    std::unique_ptr<uint8_t[]> buffer(new uint8_t[size_t(size) + 1]);
    qint64 got = 0;
    while (got < size) {
        qint64 n = file.read(reinterpret_cast<char*>(buffer.get()) + got, size - got);
        if (n <= 0)
            break;
        got += n;
    }
    file.close();
    if (got < size)
        fail("cannot read ");
    parse(std::move(buffer), uint64_t(size), path);
}

bool ElfFile::parse(std::unique_ptr<uint8_t[]> image, uint64_t length, const QString& name)
{
    clear();
    ownedImage_ = std::move(image);
    image_ = ownedImage_.get();
    imageSize_ = length;
    fileName_ = name;
    fileName8_ = name.toLocal8Bit();
    parseImage();
    return true;
}

bool ElfFile::parseView(const uint8_t* image, uint64_t length, const QString& name)
{
    clear();
    image_ = image;
    imageSize_ = length;
    fileName_ = name;
    fileName8_ = name.toLocal8Bit();
    parseImage();
    return true;
}

const uint8_t* ElfFile::pointerAt(uint64_t offset, uint64_t size) const
{
    if (offset >= imageSize_ || size > imageSize_ - offset)
        fail("truncated ELF file: ");
    return image_ + offset;
}

void ElfFile::parseImage()
{
    if (imageSize_ < 4 || memcmp(image_, "\x7f" "ELF", 4) != 0)
        fail("invalid ELF file: ");
    // e_ident must be there before the class and byte order can be read.
    pointerAt(0, 16);
    bigEndian_ = image_[5] != 1;
    is64_ = image_[4] != 1;
    decodeHeader();
    decodePrograms();
    decodeSections();
    nameSections();
    strtab_ = findSectionInHeaderOrder(".strtab", ElfSht::SHT_STRTAB, false);
    comment_ = findSectionInHeaderOrder(".comment", 0, true);
    symtab_ = findSectionInHeaderOrder(".symtab", 0, true);
    symtabShndx_ = findSectionInHeaderOrder(".symtab_shndx", 0, true);
    checkSymbolTable();
}

void ElfFile::decodeHeader()
{
    const uint8_t* h = pointerAt(0, is64_ ? ehdrSize64 : ehdrSize32);
    const bool be = bigEndian_;
    e_type = u16(h + 16, be);
    e_machine = u16(h + 18, be);
    e_version = u32(h + 20, be);
    const uint8_t* p = h + 24;
    const uint64_t w = is64_ ? 8 : 4;
    e_entry = word(p, is64_, be);
    e_phoff = word(p + w, is64_, be);
    e_shoff = word(p + 2 * w, is64_, be);
    p += 3 * w;
    e_flags = u32(p, be);
    e_ehsize = u16(p + 4, be);
    e_phentsize = u16(p + 6, be);
    e_phnum = u16(p + 8, be);
    e_shentsize = u16(p + 10, be);
    e_shnum = u16(p + 12, be);
    e_shstrndx = u16(p + 14, be);
}

void ElfFile::decodePrograms()
{
    if (e_phnum == 0)
        return;
    const uint64_t recordSize = is64_ ? phdrSize64 : phdrSize32;
    // The whole table must be in the file before anything is allocated for it.
    const uint8_t* table = pointerAt(e_phoff, uint64_t(e_phnum) * recordSize);
    programs_.resize(e_phnum);
    const bool be = bigEndian_;
    for (unsigned i = 0; i < e_phnum; ++i) {
        const uint8_t* r = table + i * recordSize;
        ElfProgram& ph = programs_[i];
        ph.p_type = u32(r, be);
        if (is64_) {
            ph.p_flags = u32(r + 4, be);
            ph.p_offset = u64(r + 8, be);
            ph.p_vaddr = u64(r + 16, be);
            ph.p_paddr = u64(r + 24, be);
            ph.p_filesz = u64(r + 32, be);
            ph.p_memsz = u64(r + 40, be);
            ph.p_align = u64(r + 48, be);
        } else {
            ph.p_offset = u32(r + 4, be);
            ph.p_vaddr = u32(r + 8, be);
            ph.p_paddr = u32(r + 12, be);
            ph.p_filesz = u32(r + 16, be);
            ph.p_memsz = u32(r + 20, be);
            ph.p_flags = u32(r + 24, be);
            ph.p_align = u32(r + 28, be);
        }
        if (ph.p_filesz != 0) {
            ph.data = pointerAt(ph.p_offset);
            ph.dataSize = std::min(ph.p_filesz, imageSize_ - ph.p_offset);
        }
    }
}

static void decodeSectionHeader(const uint8_t* r, bool is64, bool be, ElfSection& s)
{
    s.sh_name = u32(r, be);
    s.sh_type = u32(r + 4, be);
    if (is64) {
        s.sh_flags = u64(r + 8, be);
        s.sh_addr = u64(r + 16, be);
        s.sh_offset = u64(r + 24, be);
        s.sh_size = u64(r + 32, be);
        s.sh_link = u32(r + 40, be);
        s.sh_info = u32(r + 44, be);
        s.sh_addralign = u64(r + 48, be);
        s.sh_entsize = u64(r + 56, be);
    } else {
        s.sh_flags = u32(r + 8, be);
        s.sh_addr = u32(r + 12, be);
        s.sh_offset = u32(r + 16, be);
        s.sh_size = u32(r + 20, be);
        s.sh_link = u32(r + 24, be);
        s.sh_info = u32(r + 28, be);
        s.sh_addralign = u32(r + 32, be);
        s.sh_entsize = u32(r + 36, be);
    }
}

void ElfFile::decodeSections()
{
    // A file without a section header table (e_shoff 0) simply has no sections.
    if (e_shoff == 0 && e_shnum == 0)
        return;
    const uint64_t recordSize = is64_ ? shdrSize64 : shdrSize32;
    ElfSection first;
    decodeSectionHeader(pointerAt(e_shoff, recordSize), is64_, bigEndian_, first);
    // With more than 0xFF00 sections, e_shnum is 0 and section 0 holds the real count.
    const uint64_t count = e_shnum != 0 ? e_shnum : first.sh_size;
    if (count == 0)
        return;
    if (count > uint64_t(INT32_MAX))
        fail("truncated ELF file: ");
    const uint8_t* table = pointerAt(e_shoff, count * recordSize);
    sections_.resize(count);
    for (uint64_t i = 0; i < count; ++i) {
        ElfSection& s = sections_[i];
        decodeSectionHeader(table + i * recordSize, is64_, bigEndian_, s);
        s.index = uint32_t(i);
        if (s.sh_type != ElfSht::SHT_NOBITS) {
            s.data = pointerAt(s.sh_offset);
            s.dataSize = std::min(s.sh_size, imageSize_ - s.sh_offset);
        }
        switch (s.sh_type) {
        case ElfSht::SHT_PROGBITS:
        case ElfSht::SHT_NOBITS:
        case ElfSht::SHT_INIT_ARRAY:
        case ElfSht::SHT_FINI_ARRAY:
        case ElfSht::SHT_ARM_EXIDX:
            s.memoryImage = (s.sh_flags & (ElfShf::SHF_WRITE | ElfShf::SHF_ALLOC | ElfShf::SHF_EXECINSTR)) != 0;
            break;
        default:
            s.memoryImage = false;
        }
    }
}

std::string_view ElfFile::stringAt(uint64_t offset) const
{
    const char* s = reinterpret_cast<const char*>(pointerAt(offset));
    const void* nul = memchr(s, 0, imageSize_ - offset);
    if (!nul)
        fail("truncated ELF file: ");
    return std::string_view(s, static_cast<const char*>(nul) - s);
}

void ElfFile::nameSections()
{
    if (sections_.empty())
        return;
    const uint64_t nameIndex = e_shstrndx > 65534 ? sections_[0].sh_link : e_shstrndx;
    const ElfSection* names = sectionAt(int64_t(nameIndex));
    if (!names)
        return;
    sectionIndex_.reserve(sections_.size());
    for (ElfSection& s : sections_) {
        if (names->sh_offset > UINT64_MAX - s.sh_name)
            fail("truncated ELF file: ");
        s.name = stringAt(names->sh_offset + s.sh_name);
        if (!s.name.empty())
            sectionIndex_.push_back(&s);
    }
    indexSorted_ = false;
}

// Checks at load everything that could make the symbol table unreadable, so that a
// damaged table fails the load while the decoding itself can wait for first use.
void ElfFile::checkSymbolTable()
{
    symbolCount_ = 0;
    const ElfSection* symtab = symtab_;
    if (!symtab)
        return;
    if (symtab->sh_entsize == 0)
        fail("invalid ELF file: ");
    const uint64_t count = symtab->sh_size / symtab->sh_entsize;
    if (count == 0)
        return;
    const uint64_t recordSize = is64_ ? symSize64 : symSize32;
    // The count is a claim of the file: the entries must be there before anything is allocated.
    if (count > UINT32_MAX || count > (imageSize_ / recordSize))
        fail("truncated ELF file: ");
    symbolTable_ = pointerAt(symtab->sh_offset, count * recordSize);
    symbolCount_ = count;
    if (strtab_) {
        // A name is readable when it starts inside the image and a NUL follows it there;
        // the last NUL of the image bounds every such start.
        const uint8_t* lastNul = static_cast<const uint8_t*>(memrchr(image_, 0, imageSize_));
        if (!lastNul)
            fail("truncated ELF file: ");
        const uint64_t limit = uint64_t(lastNul - image_);
        if (strtab_->sh_offset > limit)
            fail("truncated ELF file: ");
        const uint64_t maxName = limit - strtab_->sh_offset;
        for (uint64_t i = 0; i < count; ++i) {
            // st_name leads the entry in both layouts.
            if (u32(symbolTable_ + i * recordSize, bigEndian_) > maxName)
                fail("truncated ELF file: ");
        }
    }
    symbolsDecoded_ = false;
    listsBuilt_ = false;
}

void ElfFile::decodeSymbols() const
{
    symbolsDecoded_ = true;
    const uint64_t count = symbolCount_;
    if (count == 0)
        return;
    const uint64_t recordSize = is64_ ? symSize64 : symSize32;
    const ElfSymbolContext ctx{is64_, bigEndian_, loadBias_, biasLimit_};
    const bool arm = e_machine == ElfEm::EM_ARM;
    symbols_.reserve(count);
    if (arm)
        armSymbols_.resize(count);
    else
        plainSymbols_.resize(count);
    for (uint64_t i = 0; i < count; ++i) {
        ElfSymbol* sym = arm ? static_cast<ElfSymbol*>(&armSymbols_[i]) : &plainSymbols_[i];
        sym->decode(symbolTable_ + i * recordSize, ctx, uint32_t(i));
        symbols_.push_back(sym);
        if (strtab_) {
            sym->name = stringAt(strtab_->sh_offset + sym->st_name);
            if (demangle_ && !sym->name.empty()) {
                std::string d = demangleName(sym->name);
                if (!d.empty()) {
                    demangledNames_.push_back(std::make_unique<char[]>(d.size()));
                    memcpy(demangledNames_.back().get(), d.data(), d.size());
                    sym->name = std::string_view(demangledNames_.back().get(), d.size());
                }
            }
        }
    }
}

void ElfFile::classifySymbols() const
{
    ensureSymbols();
    listsBuilt_ = true;
    sectionMapping_.assign(sections_.size(), {});
    for (ElfSymbol* sym : symbols_) {
        const std::string_view n = sym->name;
        if (n.empty() || n[0] == '!' || n[0] == '.')
            continue;
        if (n[0] == '$') {
            ElfSection* s = sectionOfSymbol(sym);
            if (s && s->memoryImage) {
                mapping_.push_back(sym);
                sectionMapping_[s->index].push_back(sym);
            }
            continue;
        }
        named_.push_back(sym);
        if (sectionOfSymbol(sym))
            defined_.push_back(sym);
    }
    sortByName(
        named_.begin(), named_.end(), [](const ElfSymbol* s) { return s->name; },
        [](const ElfSymbol* a, const ElfSymbol* b) { return a->index < b->index; });
    std::sort(defined_.begin(), defined_.end(), addressLess);
    std::sort(mapping_.begin(), mapping_.end(), addressLess);
    for (auto& list : sectionMapping_)
        std::sort(list.begin(), list.end(), addressLess);
}

// A member of a C++ library has hundreds of sections whose names share long
// prefixes; most runs look up only a few of them, so the index is sorted on first use.
const std::vector<ElfSection*>& ElfFile::sectionsByName() const
{
    if (!indexSorted_) {
        indexSorted_ = true;
        // Sections of equal names (comdat groups repeat them) stay in header order.
        sortByName(
            sectionIndex_.begin(), sectionIndex_.end(), [](const ElfSection* s) { return s->name; },
            [](const ElfSection* a, const ElfSection* b) { return a->index < b->index; });
    }
    return sectionIndex_;
}

ElfSection* ElfFile::findSectionInHeaderOrder(std::string_view name, uint32_t type, bool anyType) const
{
    for (const ElfSection* s : sectionIndex_) {
        if (s->name == name && (anyType || s->sh_type == type))
            return const_cast<ElfSection*>(s);
    }
    return nullptr;
}

ElfSection* ElfFile::sectionAt(int64_t index) const
{
    if (index < 0 || uint64_t(index) >= sections_.size())
        return nullptr;
    return const_cast<ElfSection*>(&sections_[size_t(index)]);
}

ElfSection* ElfFile::sectionByName(std::string_view name) const
{
    const auto& index = sectionsByName();
    auto it = std::lower_bound(index.begin(), index.end(), name,
                               [](const ElfSection* s, std::string_view n) { return nameLess(s->name, n); });
    if (it != index.end() && (*it)->name == name)
        return *it;
    return nullptr;
}

ElfSection* ElfFile::sectionByNameAndType(std::string_view name, uint32_t type) const
{
    const auto& index = sectionsByName();
    auto it = std::lower_bound(index.begin(), index.end(), name,
                               [](const ElfSection* s, std::string_view n) { return nameLess(s->name, n); });
    for (; it != index.end() && (*it)->name == name; ++it) {
        if ((*it)->sh_type == type)
            return *it;
    }
    return nullptr;
}

ElfSection* ElfFile::sectionOfSymbol(const ElfSymbol* symbol) const
{
    if (symbol->st_shndx == ElfSym::SHN_XINDEX) {
        const ElfSection* ext = symtabShndx_;
        if (!ext || !ext->data)
            return nullptr;
        const uint64_t at = uint64_t(symbol->index) * 4;
        if (at + 4 > ext->dataSize)
            return nullptr;
        const uint32_t real = u32(ext->data + at, bigEndian_);
        return real == 0 ? nullptr : sectionAt(real);
    }
    // Undefined symbols and the reserved indexes (absolute, common) have no section.
    if (symbol->st_shndx == ElfSym::SHN_UNDEF || symbol->st_shndx >= ElfSym::SHN_LORESERVE)
        return nullptr;
    return sectionAt(symbol->st_shndx);
}

ElfSymbol* ElfFile::symbolByName(std::string_view name) const
{
    const std::vector<ElfSymbol*>& named = namedSymbols();
    auto it = std::lower_bound(named.begin(), named.end(), name,
                               [](const ElfSymbol* s, std::string_view n) { return nameLess(s->name, n); });
    return it != named.end() && (*it)->name == name ? *it : nullptr;
}

ElfSection* ElfFile::relocationSectionFor(const ElfSection* section) const
{
    for (const ElfSection& s : sections_) {
        if ((s.sh_type == ElfSht::SHT_REL || s.sh_type == ElfSht::SHT_RELA) && s.sh_info == section->index)
            return const_cast<ElfSection*>(&s);
    }
    return nullptr;
}

ElfProgram* ElfFile::programAt(int index) const
{
    if (index < 0 || size_t(index) >= programs_.size())
        return nullptr;
    return const_cast<ElfProgram*>(&programs_[size_t(index)]);
}

ElfProgram* ElfFile::programByVirtualAddress(uint64_t address) const
{
    for (const ElfProgram& p : programs_) {
        if (p.p_type == ElfPt::PT_LOAD && p.p_filesz != 0 && address >= p.p_vaddr &&
            address - p.p_vaddr < p.p_memsz)
            return const_cast<ElfProgram*>(&p);
    }
    return nullptr;
}

ElfProgram* ElfFile::programByOffset(uint64_t value) const
{
    for (const ElfProgram& p : programs_) {
        if (p.p_type == ElfPt::PT_LOAD && p.p_filesz != 0 && value >= p.p_offset &&
            value - p.p_offset < p.p_filesz)
            return const_cast<ElfProgram*>(&p);
    }
    return nullptr;
}

bool ElfFile::rangeInProgram(uint64_t address, uint64_t length) const
{
    for (const ElfProgram& p : programs_) {
        if (p.p_vaddr <= address && address - p.p_vaddr <= p.p_memsz && length <= p.p_memsz - (address - p.p_vaddr))
            return true;
    }
    return false;
}

ElfSymbol* ElfFile::symbolAt(int64_t index) const
{
    ensureSymbols();
    if (index < 0 || uint64_t(index) >= symbols_.size())
        return nullptr;
    return symbols_[size_t(index)];
}

ElfSymbol* ElfFile::symbolAtOrBefore(uint64_t address) const
{
    ensureLists();
    if (defined_.empty())
        return nullptr;
    // First symbol above the address; the one before it is at or below.
    auto it = std::upper_bound(defined_.begin(), defined_.end(), address,
                               [](uint64_t a, const ElfSymbol* s) { return a < s->address(); });
    if (it == defined_.begin())
        return nullptr;
    --it;
    // Several symbols may share the address: prefer the first of them.
    const uint64_t at = (*it)->address();
    while (it != defined_.begin() && (*(it - 1))->address() == at)
        --it;
    return *it;
}

uint64_t ElfFile::distanceToNextSymbol(const ElfSymbol* symbol) const
{
    ensureLists();
    const uint64_t a = symbol->address();
    auto it = std::upper_bound(defined_.begin(), defined_.end(), a,
                               [](uint64_t x, const ElfSymbol* s) { return x < s->address(); });
    return it == defined_.end() ? 0 : (*it)->address() - a;
}

ElfSymbol* ElfFile::mappingSymbolAt(uint64_t address, const ElfSection* section) const
{
    const std::vector<ElfSymbol*>* list = nullptr;
    if (section)
        list = &sectionMappingSymbols(section);
    else if (programByVirtualAddress(address))
        list = &mappingSymbols();
    if (!list || list->empty())
        return nullptr;
    auto it = std::upper_bound(list->begin(), list->end(), address,
                               [](uint64_t a, const ElfSymbol* s) { return a < s->address(); });
    if (it == list->begin())
        return nullptr;
    return *(it - 1);
}
