#ifndef HARMLESSTEXT_H
#define HARMLESSTEXT_H

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <algorithm>

// True when no character can control a terminal, change the direction of text or start a line. Half a
// character is none that can be written.
inline bool isHarmless(const QString &line)
{
    const bool harmless = std::all_of(line.begin(), line.end(), [](QChar character) {
        switch (character.category()) {
        case QChar::Other_Control:
        case QChar::Other_Format:
        case QChar::Separator_Line:
        case QChar::Separator_Paragraph:
            return false;
        default:
            return true;
        }
    });
    return harmless && QString::fromUtf8(line.toUtf8()) == line;
}

inline bool areHarmless(const QStringList &lines)
{
    return std::all_of(lines.begin(), lines.end(), isHarmless);
}

#endif // HARMLESSTEXT_H
