#pragma once
// What a printer writes to a stdio stream, as a string.
#include <cstdio>
#include <cstdlib>
#include <string>

template <typename F>
std::string capture(F fill)
{
    char* buf = nullptr;
    size_t len = 0;
    FILE* f = open_memstream(&buf, &len);
    fill(f);
    fclose(f);
    std::string s(buf, len);
    free(buf);
    return s;
}
