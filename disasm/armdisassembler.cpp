#include "disasm/armdisassembler.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "elf/elffile.h"
#include "qtx/textline.h"

ARMDisassembler::ARMDisassembler(uint32_t arch, bool big, bool instructionsLittle)
    : architecture(arch), bigEndian(big), instructionsLittleEndian(instructionsLittle),
      decoder_(std::make_unique<MyARMInstructionSetDisassembler>())
{
    decoder_->setArchitecture(arch);
}

uint32_t ARMDisassembler::architectureLevel(const QString& name)
{
    struct Level {
        const char* upper;
        const char* lower;
        uint32_t level;
    };
    // Exact spellings only; the first match wins.
    static const Level levels[] = {
        {"v4T", "v4t", 1},
        {"v5TE", "v5te", 2},
        {"v6", "v6", 3},
        {"v6M", "v6m", 5},
        {"v6T2", "v6t2", 4},
        {"v7M", "v7m", 6},
        {"v7EM", "v7em", 7},
        {"v7R", "v7r", 8},
        {"v7A", "v7a", 9},
        {"v8A", "v8a", 10},
        {"v8R", "v8r", 11},
        {"v8M_Baseline", "v8m_baseline", 12},
        {"v8M_Mainline", "v8m_mainline", 13},
        {"v8.1M_Mainline", "v8.1m_mainline", 14},
    };
    for (const Level& l : levels)
        if (name == QLatin1String(l.upper) || name == QLatin1String(l.lower))
            return l.level;
    return 0;
}

uint32_t ARMDisassembler::readHalf(const uint8_t* p) const
{
    if (bigEndian && !instructionsLittleEndian)
        return uint32_t(p[0]) << 8 | p[1];
    return uint32_t(p[1]) << 8 | p[0];
}

uint32_t ARMDisassembler::readWord(const uint8_t* p) const
{
    if (bigEndian && !instructionsLittleEndian)
        return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3];
    return uint32_t(p[3]) << 24 | uint32_t(p[2]) << 16 | uint32_t(p[1]) << 8 | p[0];
}

namespace {
// The encoding column: `digits` hex digits then blanks up to 12 characters, under the
// same room rule as the decoder's text.
void writeColumn(char* text, int32_t textSize, uint32_t value, int digits)
{
    char column[16];
    snprintf(column, sizeof column, digits == 4 ? "%04X        " : "%08X    ", value);
    int32_t i = 0;
    for (; i < 12 && textSize - i > 1; ++i)
        text[i] = column[i];
    if (textSize > 0)
        text[i] = '\0';
}
} // namespace

uint32_t ARMDisassembler::disassembleInstruction(uint32_t address, const uint8_t* bytes, bool thumb, char* text,
                                                 int32_t textSize, uint32_t available, uint32_t* opcodeOut)
{
    MyARMInstructionSetDisassembler& d = *decoder_;
    const int32_t rest = textSize - 12;
    char* after = text + 12;
    if (thumb) {
        if (available < 2)
            return 0;
        const uint32_t first = readHalf(bytes);
        const uint32_t top = first >> 11;
        const bool wide = top == 0x1D || top == 0x1E || top == 0x1F;
        if (!wide) {
            writeColumn(text, textSize, first, 4);
            if (opcodeOut)
                *opcodeOut = first;
            if (rest > 0)
                d.decode(false, address, first, after, rest);
            else
                d.decode(false, address, first, nullptr, 0);
            return 1;
        }
        if (available < 4)
            return 0;
        const uint32_t second = readHalf(bytes + 2);
        // Big-endian reading keeps the halfwords in their stored places.
        const uint32_t opcode = (bigEndian && !instructionsLittleEndian) ? (first | second << 16) : (first << 16 | second);
        writeColumn(text, textSize, opcode, 8);
        if (opcodeOut)
            *opcodeOut = opcode;
        char scratch[4];
        const bool pending = d.decode(false, address, first, rest > 0 ? after : scratch, rest > 0 ? rest : 1);
        d.decode(false, address + 2, second, rest > 0 ? after : nullptr, rest > 0 ? rest : 0);
        return pending ? 1 : 0;
    }
    if (available < 4)
        return 0;
    const uint32_t word = readWord(bytes);
    writeColumn(text, textSize, word, 8);
    if (opcodeOut)
        *opcodeOut = word;
    d.decode(true, address, word, rest > 0 ? after : nullptr, rest > 0 ? rest : 0);
    return 1;
}

namespace {
using namespace ElfShf;

enum class Mode { Arm, Thumb, Data };

// A mapping symbol ($a, $t, $d, or with a "." suffix) gives the instruction set of
// what follows it; false for any other name.
bool mappingMode(std::string_view name, Mode* mode)
{
    if (name.size() < 2 || name[0] != '$' || (name.size() > 2 && name[2] != '.'))
        return false;
    switch (name[1]) {
    case 'a':
        *mode = Mode::Arm;
        return true;
    case 't':
        *mode = Mode::Thumb;
        return true;
    case 'd':
        *mode = Mode::Data;
        return true;
    default:
        return false;
    }
}

uint32_t readFileWord(const uint8_t* p, bool little)
{
    return little ? uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24
                  : uint32_t(p[3]) | uint32_t(p[2]) << 8 | uint32_t(p[1]) << 16 | uint32_t(p[0]) << 24;
}

uint32_t readFileHalf(const uint8_t* p, bool little)
{
    return little ? uint32_t(p[0]) | uint32_t(p[1]) << 8 : uint32_t(p[1]) | uint32_t(p[0]) << 8;
}

std::string localLabel(std::string_view section, uint64_t offset)
{
    std::string label(".L");
    label.append(section);
    label.append(std::to_string(offset));
    return label;
}

// The name a data word relocated by `entry` is written with: the symbol, or a local
// label in the target section for a section-relative relocation. Empty when the symbol
// cannot be found.
struct DataRelocation {
    std::string text;
    uint32_t targetSection = 0;
    uint64_t targetOffset = 0;
    bool sectionRelative = false;
};

// The relocations of one section by offset, for the words they patch.
std::map<uint64_t, DataRelocation> relocationsOf(const ElfFile& file, const ElfSection& section,
                                                const ElfSection* rel, FILE* reports)
{
    std::map<uint64_t, DataRelocation> result;
    if (!rel || !rel->data)
        return result;
    const bool little = file.isLittleEndian();
    const bool rela = rel->sh_type == ElfSht::SHT_RELA;
    const uint64_t entry = rela ? 12 : 8;
    for (uint64_t at = 0; at + entry <= rel->dataSize; at += entry) {
        const uint32_t offset = readFileWord(rel->data + at, little);
        const uint32_t info = readFileWord(rel->data + at + 4, little);
        const uint32_t type = info & 0xFF;
        // Only the data word relocations are written as expressions; the ones on
        // instructions are reproduced by the instruction text itself.
        if (type != 2) // R_ARM_ABS32
            continue;
        DataRelocation r;
        const ElfSymbol* s = (info >> 8) ? file.symbolAt(info >> 8) : nullptr;
        if (!s) {
            fputs("can't find symbol for relocation\n", reports);
            continue;
        }
        int64_t addend = 0;
        if (rela)
            addend = int32_t(readFileWord(rel->data + at + 8, little));
        else if (section.data && section.dataSize >= 4 && offset <= section.dataSize - 4) // no wrap near 4 GiB
            addend = int32_t(readFileWord(section.data + offset, little));
        if (s->type() == 3) { // STT_SECTION: a label at the offset inside that section
            const ElfSection* target = file.sectionAt(s->st_shndx);
            if (!target) {
                fputs("can't find symbol for relocation\n", reports);
                continue;
            }
            r.sectionRelative = true;
            r.targetSection = target->index;
            r.targetOffset = uint64_t(int64_t(s->st_value) + addend);
            // A Thumb code address carries bit 0 set: the label goes on the
            // instruction itself and the word adds the 1.
            const bool thumbBit = (target->sh_flags & SHF_EXECINSTR) && (r.targetOffset & 1);
            r.targetOffset &= ~uint64_t(thumbBit);
            r.text = localLabel(target->name, r.targetOffset);
            if (thumbBit)
                r.text.append("+1");
        } else {
            if (s->name.empty()) {
                fputs("can't find symbol for relocation\n", reports);
                continue;
            }
            r.text = std::string(s->name);
            if (addend) {
                if (addend > 0)
                    r.text.push_back('+');
                r.text.append(std::to_string(addend));
            }
        }
        result.emplace(offset, std::move(r));
    }
    return result;
}

bool emittedSymbol(const ElfSymbol* s)
{
    if (s->name.empty() || s->type() == 3 || s->type() == 4) // sections and files
        return false;
    Mode m;
    if (mappingMode(s->name, &m))
        return false;
    return s->name.substr(0, 17) != "BuildAttributes$$";
}

} // namespace

void ARMDisassembler::disassembleFile(FILE* out, const ElfFile& file) { writeFile(out, file, false); }

void ARMDisassembler::listCode(FILE* out, const ElfFile& file) { writeFile(out, file, true); }

void ARMDisassembler::writeFile(FILE* out, const ElfFile& file, bool listing)
{
    QTx::TextLine line(out);
    char buf[512];
    auto print = [&](const char* fmt, auto... args) {
        snprintf(buf, sizeof buf, fmt, args...);
        line.str(buf);
    };
    const bool little = file.isLittleEndian();
    auto hexLine = [&](std::string_view prefix, uint32_t value, int digits, bool upper) {
        line.str(prefix);
        if (upper)
            line.hex(value, digits);
        else
            line.hexLower(value, digits);
        line.ch('\n');
    };
    // One unit of data at `offset`: the word a relocation names, else the widest of
    // word, halfword and byte that fits in what is left. Code sections write their
    // numbers in upper case, data sections in lower case. Returns the bytes written.
    uint64_t listedAddress = 0; // the address a listing line starts with
    auto dataUnit = [&](const std::map<uint64_t, DataRelocation>& relocs, const uint8_t* p, uint64_t offset,
                        uint64_t left, bool upper) -> uint64_t {
        if (listing)
            line.hex(listedAddress, 8);
        auto rel = relocs.find(offset);
        if (rel != relocs.end() && left >= 4) {
            line.str("\t.word ").str(rel->second.text).ch('\n');
            return 4;
        }
        if (left >= 4) {
            hexLine("\t.word 0x", readFileWord(p, little), 8, upper);
            return 4;
        }
        if (left >= 2) {
            hexLine("\t.short 0x", readFileHalf(p, little), 4, upper);
            return 2;
        }
        hexLine("\t.byte 0x", p[0], 2, upper);
        return 1;
    };
    MyARMInstructionSetDisassembler& d = *decoder_;
    d.setFile(&file, nullptr, true, 0);
    d.setAssemblerSyntax(!listing);

    // Every section's data-word relocations, and the local labels the section-relative
    // ones need in their target sections.
    // A member of a C++ library has thousands of sections: every per-section table
    // is made in one pass over them.
    const size_t count = size_t(std::max(file.sectionCount(), 0));
    std::vector<const ElfSection*> relocationSection(count, nullptr);
    std::vector<std::vector<const ElfSymbol*>> sectionSymbols(count);
    for (size_t i = 0; i < count; ++i) {
        const ElfSection* s = file.sectionAt(int(i));
        if (s && (s->sh_type == ElfSht::SHT_REL || s->sh_type == ElfSht::SHT_RELA) && s->sh_info < count &&
            !relocationSection[s->sh_info])
            relocationSection[s->sh_info] = s;
    }
    for (const ElfSymbol* s : file.definedSymbols())
        if (const ElfSection* sec = file.sectionOfSymbol(s); sec && sec->index < count && emittedSymbol(s))
            sectionSymbols[sec->index].push_back(s);
    std::vector<std::map<uint64_t, DataRelocation>> relocations(count);
    std::set<std::pair<uint32_t, uint64_t>> labels;
    for (size_t i = 0; i < count; ++i) {
        const ElfSection* s = file.sectionAt(int(i));
        if (!s || !(s->sh_flags & SHF_ALLOC))
            continue;
        relocations[i] = relocationsOf(file, *s, relocationSection[i], reports_);
        for (const auto& [offset, r] : relocations[size_t(i)])
            if (r.sectionRelative)
                labels.emplace(r.targetSection, r.targetOffset);
    }

    // The symbols of one section, by address.
    auto symbolsOf = [&](const ElfSection* section) {
        std::vector<const ElfSymbol*> list;
        if (section->index < count)
            list.swap(sectionSymbols[section->index]);
        std::stable_sort(list.begin(), list.end(),
                         [](const ElfSymbol* a, const ElfSymbol* b) { return a->address() < b->address(); });
        return list;
    };

    if (!listing)
        line.str("\t.syntax unified\n");
    // Code first: alignment 0 and 1 both mean none, written as 1.
    for (int i = 0; i < file.sectionCount(); ++i) {
        const ElfSection* sec = file.sectionAt(i);
        if (!sec || !(sec->sh_flags & SHF_EXECINSTR) || !(sec->sh_flags & SHF_ALLOC) || !sec->data)
            continue;
        d.setSection(sec);
        d.resetState();
        if (listing) {
            print("--- %s\n", std::string(sec->name).c_str());
        } else {
            print("\n\t.section %s,\"ax\",%%progbits\n", std::string(sec->name).c_str());
            print("\t.balign %ld\n", long(sec->sh_addralign ? sec->sh_addralign : 1));
        }

        const auto symbols = symbolsOf(sec);
        const auto& mapping = file.sectionMappingSymbols(sec);
        // Without mapping symbols, the kind of the first function decides.
        Mode mode = Mode::Arm;
        for (const ElfSymbol* s : symbols)
            if (auto a = dynamic_cast<const ARMElfSymbol*>(s); a && a->kind != ARMElfSymbol::NoCode) {
                mode = a->kind == ARMElfSymbol::ThumbCode ? Mode::Thumb : Mode::Arm;
                break;
            }
        // A mapping symbol at the start says it better; data needs no directive.
        Mode first;
        if (!mapping.empty() && mapping[0]->address() <= sec->sh_addr && mappingMode(mapping[0]->name, &first) &&
            first != Mode::Data)
            mode = first;
        if (sec->dataSize)
            line.str(mode == Mode::Thumb ? "\t.thumb\n" : "\t.arm\n");
        const auto& relocs = relocations[size_t(i)];
        size_t nextSymbol = 0, nextMapping = 0;
        const uint64_t size = std::min<uint64_t>(sec->dataSize, sec->sh_size);
        uint64_t offset = 0;
        while (offset < size) {
            const uint64_t addr = sec->sh_addr + offset;
            while (nextMapping < mapping.size() && mapping[nextMapping]->address() <= addr) {
                Mode m;
                if (mappingMode(mapping[nextMapping]->name, &m) && m != mode) {
                    if (m != Mode::Data)
                        line.str(m == Mode::Thumb ? "\t.thumb\n" : "\t.arm\n");
                    if (mode == Mode::Data || m != Mode::Data)
                        d.resetState();
                    mode = m;
                }
                ++nextMapping;
            }
            if (labels.count({sec->index, offset}) && !listing)
                line.str(localLabel(sec->name, offset)).str(":\n");
            while (!listing && nextSymbol < symbols.size() && symbols[nextSymbol]->address() <= addr) {
                const ElfSymbol* s = symbols[nextSymbol++];
                auto a = dynamic_cast<const ARMElfSymbol*>(s);
                const bool thumbFunction = a && a->kind == ARMElfSymbol::ThumbCode && s->type() == 2;
                if (s->binding() != 0) {
                    line.str("\n\t.global ").str(s->name).ch('\n');
                    if (thumbFunction)
                        line.str("\t.thumb_func\n");
                    if (s->type() == 2)
                        line.str("\t.type ").str(s->name).str(", function\n");
                } else {
                    if (thumbFunction)
                        line.str("\t.thumb_func\n");
                    // A local function keeps its type: the assembler then relocates
                    // words naming it against the function itself, not its section.
                    if (s->type() == 2)
                        line.str("\t.type ").str(s->name).str(", function\n");
                }
                line.str(s->name).str(":\n");
            }
            // Where the current stretch ends: the next mapping symbol or the section end.
            const uint64_t stretchEnd =
                nextMapping < mapping.size() ? std::min<uint64_t>(mapping[nextMapping]->address() - sec->sh_addr, size)
                                             : size;
            const uint64_t left = stretchEnd > offset ? stretchEnd - offset : size - offset;
            const uint8_t* p = sec->data + offset;
            listedAddress = addr;
            if (mode == Mode::Data) {
                offset += dataUnit(relocs, p, offset, left, true);
                continue;
            }
            char text[256];
            uint32_t opcode = 0;
            const bool thumb = mode == Mode::Thumb;
            const uint32_t done = disassembleInstruction(uint32_t(addr), p, thumb, text, sizeof text,
                                                         uint32_t(std::min<uint64_t>(left, 0xFFFFFFFFu)), &opcode);
            const uint32_t first = thumb && left >= 2 ? readHalf(p) : 0;
            const bool wide = thumb && (first >> 11) >= 0x1D;
            const uint64_t length = thumb ? (wide ? 4 : 2) : 4;
            if (!done) {
                // Too short for an instruction: the bytes as they are.
                if (listing)
                    line.hex(addr, 8);
                if (left >= 2) {
                    hexLine("\t.short 0x", readFileHalf(p, little), 4, true);
                    offset += 2;
                } else {
                    hexLine("\t.byte 0x", p[0], 2, true);
                    offset += 1;
                }
                continue;
            }
            const char* insn = text + 12;
            if (listing) {
                line.hex(addr, 8).str("  ");
                line.str(text).str("\n");
                offset += length;
                continue;
            }
            // ADDS/SUBS Rd, Rn, #imm3 with Rd == Rn has a twin with an 8-bit immediate,
            // and the assembler picks the twin: only the raw encoding keeps the bytes.
            const bool twin = thumb && !wide && (first & 0xFC00) == 0x1C00 && (first & 7) == ((first >> 3) & 7);
            if (twin || d.textLosesBytes()) {
                // Encodings without a mnemonic, or whose text the assembler would not
                // read back to them, keep their bytes and stay code.
                if (!thumb)
                    hexLine("\t.inst 0x", readWord(p), 8, true);
                else if (wide)
                    hexLine("\t.inst.w 0x", first << 16 | readHalf(p + 2), 8, true);
                else
                    hexLine("\t.inst.n 0x", first, 4, true);
            } else {
                line.ch('\t').str(insn).ch('\n');
            }
            offset += length;
        }
        if (labels.count({sec->index, offset}) && !listing)
            line.str(localLabel(sec->name, offset)).str(":\n");
    }
    if (listing)
        return;

    // Then every other section that occupies memory.
    for (int i = 0; i < file.sectionCount(); ++i) {
        const ElfSection* sec = file.sectionAt(i);
        if (!sec || !(sec->sh_flags & SHF_ALLOC) || (sec->sh_flags & SHF_EXECINSTR))
            continue;
        const bool nobits = sec->sh_type == ElfSht::SHT_NOBITS;
        // The unwind index and other special types are rebuilt by the assembler itself.
        if (!nobits && sec->sh_type != ElfSht::SHT_PROGBITS && sec->sh_type != ElfSht::SHT_INIT_ARRAY &&
            sec->sh_type != ElfSht::SHT_FINI_ARRAY)
            continue;
        print("\n\t.section %s,\"%s\",%s\n", std::string(sec->name).c_str(), (sec->sh_flags & SHF_WRITE) ? "aw" : "a",
              nobits ? "%nobits" : "%progbits");
        print("\t.balign %ld\n", long(sec->sh_addralign ? sec->sh_addralign : 1));
        const auto symbols = symbolsOf(sec);
        const auto& relocs = relocations[size_t(i)];
        const uint64_t size = nobits ? sec->sh_size : std::min<uint64_t>(sec->dataSize, sec->sh_size);
        size_t nextSymbol = 0;
        uint64_t offset = 0;
        // Breaks in the contents: symbols, labels and relocated words start a new item.
        auto nextBreak = [&](uint64_t from) {
            uint64_t end = size;
            for (size_t k = nextSymbol; k < symbols.size(); ++k)
                if (symbols[k]->address() - sec->sh_addr > from) {
                    end = std::min(end, symbols[k]->address() - sec->sh_addr);
                    break;
                }
            auto l = labels.upper_bound({sec->index, from});
            if (l != labels.end() && l->first == sec->index)
                end = std::min(end, l->second);
            return end;
        };
        // One pass beyond the last byte: labels and symbols may stand at the very end.
        for (;;) {
            const uint64_t addr = sec->sh_addr + offset;
            if (labels.count({sec->index, offset}))
                line.str(localLabel(sec->name, offset)).str(":\n");
            while (nextSymbol < symbols.size() && symbols[nextSymbol]->address() <= addr) {
                const ElfSymbol* s = symbols[nextSymbol++];
                const std::string name(s->name);
                if (s->binding() != 0) {
                    print("\t.global %s\n", name.c_str());
                    print("\t.type\t%s, %%object\n", name.c_str());
                    print("\t.size %s, %ld\n", name.c_str(), long(s->st_size));
                }
                print("%s:\n", name.c_str());
            }
            if (offset >= size)
                break;
            const uint64_t left = nextBreak(offset) - offset;
            if (nobits) {
                print("\t.space %d\n", int(left));
                offset += left;
                continue;
            }
            offset += dataUnit(relocs, sec->data + offset, offset, left, false);
        }
    }
}

void disassembleForMachine(FILE* out, FILE* err, const ElfFile& file, const QString& arch)
{
    switch (file.e_machine) {
    case 40: {
        ARMDisassembler disassembler(ARMDisassembler::architectureLevel(arch), !file.isLittleEndian(), false);
        disassembler.setReportStream(err);
        disassembler.disassembleFile(out, file);
        return;
    }
    case 2:
        throw HException("SPARC disassembly not supported.");
    case 3:
        throw HException("x86 disassembly not supported.");
    case 8:
        throw HException("MIPS disassembly not supported.");
    case 20:
        throw HException("PowerPC disassembly not supported.");
    case 22:
        throw HException("S390 disassembly not supported.");
    case 42:
        throw HException("SuperH disassembly not supported.");
    case 50:
        throw HException("IA-64 disassembly not supported.");
    case 62:
        throw HException("x86-64 disassembly not supported.");
    case 243:
        throw HException("RISCV disassembly not supported.");
    default:
        return;
    }
}
