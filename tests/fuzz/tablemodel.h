#ifndef TABLEMODEL_H
#define TABLEMODEL_H

#include "harmlesstext.h"

#include <QtCore/QByteArray>
#include <QtCore/QRegularExpression>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <algorithm>
#include <optional>
#include <vector>

// The expected reading of a file with a table, written from the manual.

inline bool isUtf8(const QByteArray &bytes)
{
    static const QRegularExpression form(
        QStringLiteral("\\A(?:[\\x00-\\x7F]|[\\xC2-\\xDF][\\x80-\\xBF]|\\xE0[\\xA0-\\xBF][\\x80-\\xBF]|"
                       "[\\xE1-\\xEC\\xEE\\xEF][\\x80-\\xBF]{2}|\\xED[\\x80-\\x9F][\\x80-\\xBF]|\\xF0[\\x90-"
                       "\\xBF][\\x80-\\xBF]{2}|"
                       "[\\xF1-\\xF3][\\x80-\\xBF]{3}|\\xF4[\\x80-\\x8F][\\x80-\\xBF]{2})*+\\z"));
    return form.match(QString::fromLatin1(bytes)).hasMatch();
}

// Nothing for what is no text in UTF-8.
inline std::optional<QByteArray> expectedText(QByteArray bytes)
{
    if (bytes.startsWith("\xEF\xBB\xBF"))
        bytes.remove(0, 3);
    return bytes.contains('\0') || !isUtf8(bytes) ? std::nullopt : std::optional<QByteArray>(bytes);
}

// The rows of a table; nothing when the quotes do not match. The separator is the first one in the first
// line.
inline std::optional<std::vector<QStringList>> expectedRows(const QByteArray &bytes)
{
    QString text = QString::fromUtf8('.' + bytes).mid(1);
    static const QRegularExpression firstSeparator(QStringLiteral("\\A[^\r\n,;\t]*([,;\t])"));
    const QRegularExpressionMatch found = firstSeparator.match(text);
    const QString separator = found.hasMatch() ? found.captured(1) : QStringLiteral(",");
    const QRegularExpression separatorLine(QStringLiteral("\\Asep=%1(\r\n|\r|\n|\\z)").arg(separator));
    const QRegularExpressionMatch line = separatorLine.match(text);
    if (line.hasMatch())
        text.remove(0, line.capturedLength());
    else if (text.startsWith(QStringLiteral("sep=") + separator))
        return std::nullopt;

    const QRegularExpression fieldAndEnd(
        QStringLiteral("\\G(?:\"((?:[^\"]|\"\")*+)\"|([^\"%1\r\n]*+))(%1|\r\n|\r|\n|\\z)").arg(separator));
    static const QRegularExpression mark(QStringLiteral("\\A'(?='*[=+\\-@])"));
    std::vector<QStringList> rows;
    QStringList row;
    int at = 0;
    while (at < text.size() || !row.isEmpty()) {
        const QRegularExpressionMatch match = fieldAndEnd.match(text, at);
        if (!match.hasMatch())
            return std::nullopt;
        at = static_cast<int>(match.capturedEnd());
        QString field = match.capturedLength(1) > 0
                            ? match.captured(1).replace(QStringLiteral("\"\""), QStringLiteral("\""))
                            : match.captured(2);
        row << field.remove(mark);
        if (row.size() > 64)
            return std::nullopt;
        if (match.captured(3) == separator)
            continue;
        const bool isBlank =
            std::all_of(row.begin(), row.end(), [](const QString &each) { return each.trimmed().isEmpty(); });
        if (!isBlank)
            rows.push_back(row);
        row.clear();
    }
    return rows;
}

// What is shown of a field, and what headings are.
inline QString expectedCell(QString field)
{
    std::replace_if(field.begin(), field.end(), isHarmful, QLatin1Char(' '));
    return field.trimmed();
}

inline bool isFitName(const QString &name)
{
    static const QRegularExpression mac(
        QStringLiteral("\\A[0-9A-F]{2}([:-]?)([0-9A-F]{2}\\1){4}[0-9A-F]{2}\\z"),
        QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression address(
        QStringLiteral("\\A(?:(?:25[0-5]|2[0-4][0-9]|1[0-9][0-9]|[1-9]?[0-9])(?:\\.(?!\\z)|\\z)){4}\\z"));
    const bool isLong = name.toUcs4().size() > 64;
    return !isLong && isHarmless(name) && !mac.match(name).hasMatch() && !address.match(name).hasMatch();
}

// True when the first row has the column "mac" and no column twice, and the others have a field for each
// column, empty below an empty heading. `headings` are then the first row's, in lower case.
inline bool isExpectedTable(const std::vector<QStringList> &rows, QStringList &headings)
{
    if (rows.empty())
        return false;
    QStringList named;
    for (const QString &field : rows.front()) {
        headings << expectedCell(field).toLower();
        if (!headings.back().isEmpty())
            named << headings.back();
    }
    if (!named.contains(QStringLiteral("mac")) || named.removeDuplicates() > 0)
        return false;
    return std::all_of(rows.begin() + 1, rows.end(), [&headings](const QStringList &row) {
        if (row.size() != headings.size())
            return false;
        for (int column = 0; column < static_cast<int>(row.size()); ++column) {
            if (headings.at(column).isEmpty() && !row.at(column).trimmed().isEmpty())
                return false;
        }
        return true;
    });
}

#endif // TABLEMODEL_H
