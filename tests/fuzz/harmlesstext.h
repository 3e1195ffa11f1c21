#ifndef HARMLESSTEXT_H
#define HARMLESSTEXT_H

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <algorithm>

// True for a character that controls a terminal, changes the direction of text or starts a line.
inline bool isHarmful(QChar character)
{
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

// Half a character is none that can be written.
inline bool isHarmless(const QString &line)
{
    return std::none_of(line.begin(), line.end(), isHarmful) && QString::fromUtf8(line.toUtf8()) == line;
}

inline bool areHarmless(const QStringList &lines)
{
    return std::all_of(lines.begin(), lines.end(), isHarmless);
}

#endif // HARMLESSTEXT_H
