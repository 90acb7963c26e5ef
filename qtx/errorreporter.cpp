#include "qtx/errorreporter.h"

namespace QTx {

ErrorReporter::ErrorReporter(const QString& programName, FILE* stream)
    : programName_(programName), programName8_(programName.toLocal8Bit()), stream_(stream)
{
}

FILE* ErrorReporter::error()
{
    ++count_;
    fprintf(stream_, "%s: error: ", programName8_.constData());
    return stream_;
}

} // namespace QTx
