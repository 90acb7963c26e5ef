#include "dwarf/dwarfreport.h"

#include <cstdio>

void DwarfReportSink::report(const char* format, ...)
{
    // Formatted into a bounded buffer first, as a message for the application.
    char buffer[1024];
    va_list ap;
    va_start(ap, format);
    vsnprintf(buffer, sizeof buffer, format, ap);
    va_end(ap);
    fputs(buffer, stderr);
}

void DwarfReportSink::trace(const char*, ...) {}
