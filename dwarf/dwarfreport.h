#pragma once
#include <cstdarg>

// Where the DWARF readers send what they find wrong (`report`) and, for the line
// programs, a description of every header field and opcode (`trace`). Nothing in the
// readers throws: they report and go on.
class DwarfReportSink {
public:
    virtual ~DwarfReportSink() = default;
    virtual void report(const char* format, ...) __attribute__((format(printf, 2, 3)));
    virtual void trace(const char* format, ...) __attribute__((format(printf, 2, 3)));
    // Whether trace() has been overridden: the line-program reader makes no trace
    // calls at all otherwise, so a plain reader pays nothing for tracing.
    virtual bool tracing() const { return false; }
};
