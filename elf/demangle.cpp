#include "elf/demangle.h"

#include <cstdlib>
#include <string>

// libiberty's headers declare basename() differently from glibc's string.h.
#define HAVE_DECL_BASENAME 1
#include <demangle.h>

std::string demangleName(std::string_view mangled)
{
    const std::string name(mangled);
    char* result = cplus_demangle(name.c_str(), DMGL_PARAMS | DMGL_ANSI);
    if (!result)
        return std::string();
    std::string out(result);
    free(result);
    return out;
}
