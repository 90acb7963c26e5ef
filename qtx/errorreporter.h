#pragma once
#include <QString>
#include <cstdio>

namespace QTx {

// Shared by the parser and the tool: every error message goes through error(),
// which counts it so that the run can end with a failure status afterwards.
class ErrorReporter {
public:
    ErrorReporter(const QString& programName, FILE* stream);

    // Writes "<program>: error: " and returns the stream for the rest of the message.
    FILE* error();

    int count() const { return count_; }
    FILE* stream() const { return stream_; }
    const QString& programName() const { return programName_; }

private:
    QString programName_;
    QByteArray programName8_;
    FILE* stream_;
    int count_ = 0;
};

} // namespace QTx
