// Test driver for the line-program differential test: runs every line program of
// .debug_line, unit after unit from offset 0, over an ELF file or each member of an
// archive, and prints each unit's rows as the source-address map holds them.
//
//     line_rows <file>...
//
// Output, per ELF file:   "file <name>"
//   per line program:     "unit 0x<offset>" then the map's own listing
//                         ("Addresses:" rows by address, "Sources:" rows per file
//                         in program order)
//   per reported problem: "report: <text>"
#include <QByteArray>
#include <QFile>
#include <cstdarg>
#include <cstdio>

#include "dwarf/dwarfreport.h"
#include "dwarf/lineprogram.h"
#include "dwarf/sourceaddressmap.h"
#include "elf/ararchive.h"
#include "elf/elffile.h"

namespace {

class StdoutSink : public DwarfReportSink {
public:
    void report(const char* format, ...) override __attribute__((format(printf, 2, 3)))
    {
        fputs("report: ", stdout);
        va_list ap;
        va_start(ap, format);
        vprintf(format, ap);
        va_end(ap);
    }
};

DwarfSection sectionOf(const ElfFile& file, const char* name)
{
    DwarfSection s;
    if (const ElfSection* section = file.sectionByName(name)) {
        s.data = section->contents();
        s.size = section->contents() ? section->contentsSize() : 0;
    }
    return s;
}

void dumpLines(const ElfFile& file, const QString& name)
{
    printf("file %s\n", name.toLocal8Bit().constData());
    DwarfSections sections;
    sections.line = sectionOf(file, ".debug_line");
    sections.lineStr = sectionOf(file, ".debug_line_str");
    sections.str = sectionOf(file, ".debug_str");
    sections.strOffsets = sectionOf(file, ".debug_str_offsets");
    sections.bigEndian = !file.isLittleEndian();
    sections.elf64 = file.is64();

    StdoutSink sink;
    DwarfCursor c = sections.line.cursor(sections.bigEndian);
    while (!c.atEnd()) {
        const uint64_t offset = c.offset();
        uint64_t length = c.u32();
        if (length == 0xffffffff)
            length = c.u64();
        if (c.atEnd() || length > c.left())
            break;
        c.skip(length);
        LineProgramUnit unit;
        unit.stmtList = offset;
        SourceAddressMap map;
        LineTable table;
        printf("unit 0x%llx\n", (unsigned long long)offset);
        runLineProgram(sections, unit, 0, false, sink, map, table);
        map.print(stdout);
    }
}

} // namespace

int main(int argc, char** argv)
{
    int status = 0;
    for (int i = 1; i < argc; ++i) {
        const QString path = QString::fromLocal8Bit(argv[i]);
        QFile input(path);
        if (!input.open(QIODevice::ReadOnly)) {
            fprintf(stderr, "cannot open %s\n", argv[i]);
            status = 1;
            continue;
        }
        const QByteArray image = input.readAll();
        const auto* data = reinterpret_cast<const uint8_t*>(image.constData());
        const uint64_t size = uint64_t(image.size());
        try {
            if (ArArchive::isArchive(data, size)) {
                ArArchive archive;
                std::string error;
                if (!archive.parse(data, size, &error)) {
                    fputs(error.c_str(), stderr);
                    status = 1;
                    continue;
                }
                for (const ArArchive::Member& m : archive.members()) {
                    const QString name = path + QLatin1Char('(') + QString::fromLocal8Bit(m.name) + QLatin1Char(')');
                    ElfFile file;
                    try {
                        file.parseView(m.data, m.size, name);
                    } catch (const HException&) {
                        continue; // not an ELF member (a text file, a truncated object)
                    }
                    dumpLines(file, name);
                }
            } else {
                ElfFile file;
                file.parseView(data, size, path);
                dumpLines(file, path);
            }
        } catch (const HException& e) {
            fprintf(stderr, "open error %s\n", e.message().c_str());
            status = 1;
        }
    }
    return status;
}
