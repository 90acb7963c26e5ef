#include "qtx/argparse.h"

#include <QFile>
#include <QTextStream>
#include <algorithm>
#include <cerrno>
#include <cstring>

namespace QTx {

ArgParse::ArgParse(ErrorReporter* reporter) : reporter_(reporter) {}

ArgParse::~ArgParse() = default;

void ArgParse::addFlag(const QString& name, bool* flag, const QString& help, int pass)
{
    Option o;
    o.kind = Flag;
    o.flag = flag;
    o.help = help;
    o.pass = pass;
    options_.insert(name, o);
}

void ArgParse::addValue(const QString& name, QString* value, const QString& help, int kind, int pass)
{
    Option o;
    o.kind = kind;
    o.value = value;
    o.help = help;
    o.pass = pass;
    options_.insert(name, o);
}

void ArgParse::addHandler(const QString& name, int kind, Handler handler, const QString& help, int pass)
{
    Option o;
    o.kind = kind;
    o.hasHandler = true;
    o.handler = handler;
    o.help = help;
    o.pass = pass;
    options_.insert(name, o);
}

FILE* ArgParse::error()
{
    return reporter_->error();
}

void ArgParse::positional(const QString&) {}

void ArgParse::unknownOption(const QString& argument)
{
    fprintf(error(), "unrecognised option %s\n", argument.toLocal8Bit().constData());
}

const ArgParse::Option* ArgParse::findAttached(const QString& argument, QString* name) const
{
    for (auto it = options_.cbegin(); it != options_.cend(); ++it) {
        if (it->kind == Attached && argument.startsWith(it.key())) {
            *name = it.key();
            return &it.value();
        }
    }
    return nullptr;
}

void ArgParse::parse(const QStringList& arguments, int pass)
{
    pass_ = pass;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& arg = arguments[i];
        if (arg.isEmpty())
            continue;

        const Option* option = nullptr;
        QString name;
        QString value;
        auto exact = options_.constFind(arg);
        if (exact != options_.cend()) {
            option = &exact.value();
            name = arg;
            if (option->kind == NextArgument) {
                if (i + 1 >= arguments.size()) {
                    fprintf(error(), "expected argument for option %s\n", arg.toLocal8Bit().constData());
                    return;
                }
                value = arguments[++i];
            }
        } else if ((option = findAttached(arg, &name)) != nullptr) {
            value = arg.mid(name.size());
        }

        if (option) {
            if (option->pass != pass)
                continue;
            if (option->hasHandler) {
                (this->*(option->handler))(name, value);
            } else {
                if (option->flag)
                    *option->flag = true;
                if (option->value)
                    *option->value = value;
            }
            continue;
        }

        if (arg.startsWith(QLatin1Char('@')))
            parseIndirectFile(arg.mid(1), pass);
        else if (arg.startsWith(QLatin1Char('-')))
            unknownOption(arg);
        else if (pass == 1)
            positional(arg);
    }
}

// Splits one line of an indirect file at spaces; a word that starts with a double
// quote runs to the next double quote and keeps its spaces. Returns false when a
// quote is not closed.
static bool splitIndirectLine(const QString& line, QStringList* words)
{
    qsizetype i = 0;
    const qsizetype n = line.size();
    while (i < n) {
        while (i < n && line[i] == QLatin1Char(' '))
            ++i;
        if (i >= n)
            break;
        if (line[i] == QLatin1Char('"')) {
            qsizetype close = line.indexOf(QLatin1Char('"'), i + 1);
            if (close < 0)
                return false;
            words->append(line.mid(i + 1, close - i - 1));
            i = close + 1;
        } else {
            qsizetype end = line.indexOf(QLatin1Char(' '), i);
            if (end < 0)
                end = n;
            words->append(line.mid(i, end - i));
            i = end;
        }
    }
    return true;
}

void ArgParse::parseIndirectFile(const QString& path, int pass)
{
    if (openIndirect_ >= maxOpenIndirectFiles || totalIndirect_ >= maxTotalIndirectFiles) {
        fprintf(error(), "too many indirect files\n");
        return;
    }
    // An empty name ("@" alone) is what the system calls a missing file; Qt would add a
    // warning of its own on standard error.
    if (path.isEmpty()) {
        fprintf(error(), "can't open indirect file : %s\n", strerror(ENOENT));
        return;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        fprintf(error(), "can't open indirect file %s: %s\n", path.toLocal8Bit().constData(),
                file.errorString().toLocal8Bit().constData());
        return;
    }
    ++openIndirect_;
    ++totalIndirect_;
    QTextStream in(&file);
    int lineNumber = 0;
    QString line;
    while (in.readLineInto(&line)) {
        ++lineNumber;
        if (line.startsWith(QLatin1Char('#')))
            continue;
        QStringList words;
        if (!splitIndirectLine(line, &words)) {
            fprintf(error(), "unterminated string in indirect file %s(%d)\n", path.toLocal8Bit().constData(),
                    lineNumber);
            continue;
        }
        parse(words, pass);
    }
    --openIndirect_;
}

std::vector<std::pair<QString, QString>> ArgParse::helpEntries() const
{
    std::vector<std::pair<QString, QString>> entries;
    for (const Option& o : options_) {
        if (o.help.isEmpty())
            continue;
        const QStringList pieces = o.help.split(QLatin1Char(';'), Qt::SkipEmptyParts);
        for (const QString& piece : pieces) {
            qsizetype colon = piece.indexOf(QLatin1Char(':'));
            if (colon < 0)
                continue;
            entries.emplace_back(piece.left(colon), piece.mid(colon + 1));
        }
    }
    // QString's operator< compares UTF-16 code units, so upper case sorts before lower case.
    std::sort(entries.begin(), entries.end());
    return entries;
}

} // namespace QTx
