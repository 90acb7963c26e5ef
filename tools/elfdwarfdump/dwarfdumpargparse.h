#pragma once
#include <QString>
#include <cstdio>

#include "qtx/argparse.h"

// Thrown by -help once the usage text is out: the run ends there with status 0.
struct UsageRequested {};

// The command line of elfdwarfdump.
class DwarfDumpArgParse : public QTx::ArgParse {
public:
    DwarfDumpArgParse(QTx::ErrorReporter* reporter, FILE* standardOutput);

    void positional(const QString& argument) override;

    // Banner on standard error, then the option list on standard output.
    void printUsage() const;

    bool header = false;
    bool programs = false;
    bool programData = false;
    bool sections = false;
    bool sectionData = false;
    bool symbols = false;
    bool disassemble = false;
    bool dwarf = false;
    bool setVFPflags = false;
    bool setObject = false;
    bool deTISection = false;
    bool relocations = false;
    bool memoryMap = false;
    bool thumbSymbols = false;
    bool armAttributes = false;
    bool ignoreDebugAranges = false;
    bool ltoSymbols = false;
    bool demangle = false;
    bool stackSizes = false;
    bool flm = false;
    bool unwind = false;
    bool dwarfFrame = false;
    bool symbolsSorted = false;
    bool stldr = false;
    QString elfFile;
    QString outputFile;
    QString compareFile;
    QString arch;
    QString memoryUsage;

private:
    void help(const QString& name, const QString& value);

    FILE* standardOutput_;
    int positionalCount_ = 0;
};

extern const char* const elfDwarfDumpRelease;
