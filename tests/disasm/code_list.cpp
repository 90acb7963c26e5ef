// Lists the code sections of ELF files in the disassembler's listing form (address,
// encoding, text), for the library differential test: "=== <file>" before each.
// Arguments: the -arch name ("-" for none), then the files.
#include <cstdio>
#include <cstring>

#include "disasm/armdisassembler.h"
#include "elf/elffile.h"
#include "elf/hexception.h"

int main(int argc, char** argv)
{
    if (argc < 3)
        return 2;
    const uint32_t level = strcmp(argv[1], "-") ? ARMDisassembler::architectureLevel(QString::fromLatin1(argv[1])) : 0;
    int status = 0;
    for (int i = 2; i < argc; ++i) {
        printf("=== %s\n", argv[i]);
        try {
            ElfFile file;
            file.load(QString::fromLocal8Bit(argv[i]));
            ARMDisassembler disassembler(level, !file.isLittleEndian(), false);
            disassembler.listCode(stdout, file);
        } catch (const HException& e) {
            fflush(stdout);
            fprintf(stderr, "%s: %s\n", argv[i], e.message().c_str());
            status = 1;
        }
        fflush(stdout);
    }
    return status;
}
