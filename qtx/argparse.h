#pragma once
#include <QMap>
#include <QString>
#include <QStringList>
#include <cstdio>
#include <utility>
#include <vector>

#include "qtx/errorreporter.h"

namespace QTx {

// Option table and command-line parser. Options are looked up by exact name;
// arguments starting with '@' name indirect files whose lines are parsed in place.
class ArgParse {
public:
    using Handler = void (ArgParse::*)(const QString& name, const QString& value);

    enum Kind { Flag = 0, NextArgument = 1, Attached = 2 };

    struct Option {
        int kind = Flag;
        bool hasHandler = false;
        Handler handler = nullptr;
        bool* flag = nullptr;
        QString* value = nullptr;
        QString help;
        int pass = 1;
    };

    // Indirect files may nest this deep; the total guards against files that
    // include themselves several times, which would otherwise never finish.
    static constexpr int maxOpenIndirectFiles = 100;
    static constexpr int maxTotalIndirectFiles = 10000;

    explicit ArgParse(ErrorReporter* reporter);
    virtual ~ArgParse();

    void addFlag(const QString& name, bool* flag, const QString& help, int pass = 1);
    void addValue(const QString& name, QString* value, const QString& help, int kind = NextArgument, int pass = 1);
    void addHandler(const QString& name, int kind, Handler handler, const QString& help, int pass = 1);

    // Parses one argument list (without the program name) for the given pass.
    void parse(const QStringList& arguments, int pass);

    virtual void positional(const QString& argument);
    virtual void unknownOption(const QString& argument);
    virtual FILE* error();

    // (synopsis, description) pairs from the help texts, sorted for the usage listing.
    std::vector<std::pair<QString, QString>> helpEntries() const;

    ErrorReporter* reporter() const { return reporter_; }

protected:
    int currentPass() const { return pass_; }

private:
    void parseIndirectFile(const QString& path, int pass);
    const Option* findAttached(const QString& argument, QString* name) const;

    QMap<QString, Option> options_;
    ErrorReporter* reporter_;
    int openIndirect_ = 0;
    int totalIndirect_ = 0;
    int pass_ = 0;
};

} // namespace QTx
