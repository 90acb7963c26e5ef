#include "elf/elffile.h"
#include "elf/elflistings.h"

void printElfHeader(const ElfFile& file, FILE* out)
{
    const uint8_t* id = file.image();
    fprintf(out, "\nelf header\n");
    fprintf(out, "e_ident    : ");
    fprintf(out, "             EI_MAG0   : 0x%02X\n", id[0]);
    fprintf(out, "             EI_MAG1   : %c\n", id[1]);
    fprintf(out, "             EI_MAG2   : %c\n", id[2]);
    fprintf(out, "             EI_MAG3   : %c\n", id[3]);
    fprintf(out, "             EI_CLASS  : ");
    // An unknown class prints nothing after its label, not even the line end.
    switch (id[4]) {
    case 0: fprintf(out, "ELFCLASSNONE\n"); break;
    case 1: fprintf(out, "ELFCLASS32\n"); break;
    case 2: fprintf(out, "ELFCLASS64\n"); break;
    default: break;
    }
    fprintf(out, "             EI_DATA   : ");
    switch (id[5]) {
    case 1: fprintf(out, "ELFDATA2LSB\n"); break;
    case 2: fprintf(out, "ELFDATA2MSB\n"); break;
    default: fprintf(out, "ELFDATANONE\n"); break;
    }
    fprintf(out, "             EI_VERSION: 0x%02X\n", id[6]);
    fprintf(out, "e_type      : 0x%X\n", file.e_type);
    fprintf(out, "e_machine   : 0x%X\n", file.e_machine);
    fprintf(out, "e_version   : 0x%X\n", file.e_version);
    fprintf(out, "e_entry     : 0x%lX\n", (unsigned long)file.e_entry);
    fprintf(out, "e_phoff     : 0x%lX\n", (unsigned long)file.e_phoff);
    fprintf(out, "e_shoff     : 0x%lX\n", (unsigned long)file.e_shoff);
    fprintf(out, "e_flags     : 0x%X\n", file.e_flags);
    fprintf(out, "e_ehsize    : 0x%X\n", file.e_ehsize);
    fprintf(out, "e_phentsize : 0x%X\n", file.e_phentsize);
    fprintf(out, "e_phnum     : 0x%X\n", file.e_phnum);
    fprintf(out, "e_shentsize : 0x%X\n", file.e_shentsize);
    fprintf(out, "e_shnum     : 0x%X\n", file.e_shnum);
    fprintf(out, "e_shstrndx  : 0x%X\n", file.e_shstrndx);
}
