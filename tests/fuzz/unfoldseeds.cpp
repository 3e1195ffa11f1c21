// Turns the checked-in seeds into the inputs that a target takes: unfoldseeds FOLDER FILE...
//   *.tsv  a table of JSON texts: the first field of each line, without the table's escapes, is an input
//   *.hex  bytes as hexadecimal digits, "00*12" for twelve alike, and comments from # to the end of the line
//   all others are inputs as they stand
// Whatever was in the folder before is replaced.

#include "json/jsontext.h"

#include <QtCore/QByteArray>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>

#include <cstdio>
#include <cstdlib>

namespace
{

[[noreturn]] void fail(const QString &file, const char *problem)
{
    std::fprintf(stderr, "%s: %s\n", qPrintable(file), problem);
    std::exit(EXIT_FAILURE);
}

QByteArray content(const QString &name)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        fail(name, "cannot be read");
    return file.readAll();
}

void write(const QString &name, const QByteArray &input)
{
    QFile file(name);
    if (!file.open(QIODevice::WriteOnly) || file.write(input) != input.size())
        fail(name, "cannot be written");
}

QByteArray fromHex(const QString &name)
{
    static const QRegularExpression form(QStringLiteral("^((?:[0-9A-Fa-f]{2})+)(?:\\*([0-9]+))?$"));
    QByteArray bytes;
    for (const QByteArray &line : content(name).split('\n')) {
        const QString digits = QString::fromLatin1(line.split('#').first()).simplified();
        for (const QString &item : digits.split(QLatin1Char(' '))) {
            if (item.isEmpty())
                continue;
            const QRegularExpressionMatch match = form.match(item);
            if (!match.hasMatch())
                fail(name, qPrintable(item));
            const int count = match.captured(2).isEmpty() ? 1 : match.captured(2).toInt();
            bytes += QByteArray::fromHex(match.captured(1).toLatin1()).repeated(count);
        }
    }
    return bytes;
}

void unfoldTable(const QString &table, const QDir &folder)
{
    int line = 0;
    for (const QList<QByteArray> &fields : jsontext::table(qPrintable(table))) {
        const QString name =
            QStringLiteral("%1-%2").arg(QFileInfo(table).baseName()).arg(++line, 3, 10, QLatin1Char('0'));
        write(folder.filePath(name), jsontext::unescaped(fields.first()));
    }
    if (line == 0)
        fail(table, "has no lines");
}

void unfold(const QString &seed, const QDir &folder)
{
    const QFileInfo info(seed);
    if (info.suffix() == QLatin1String("tsv"))
        unfoldTable(seed, folder);
    else if (info.suffix() == QLatin1String("hex"))
        write(folder.filePath(info.completeBaseName()), fromHex(seed));
    else
        write(folder.filePath(info.fileName()), content(seed));
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s FOLDER FILE...\n", argv[0]);
        return EXIT_FAILURE;
    }
    QDir folder(QString::fromLocal8Bit(argv[1]));
    if (!folder.removeRecursively() || !folder.mkpath(QStringLiteral(".")))
        fail(folder.path(), "cannot be made anew");
    for (int i = 2; i < argc; ++i)
        unfold(QString::fromLocal8Bit(argv[i]), folder);
    return EXIT_SUCCESS;
}
