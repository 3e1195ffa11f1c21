#include "marklines.h"

QStringList markLines(const std::vector<MarkNote> &notes)
{
    QStringList lines;
    for (const MarkNote &note : notes) {
        if (note.mark == &Marks::sharedAddress)
            lines << QStringLiteral("* %1: give each its own with 'mvdpctl set MAC'.").arg(note.sentence);
        else if (note.mark == &Marks::foreignSubnet)
            lines << QStringLiteral("! %1.").arg(note.sentence);
        else
            lines << note.sentence + QLatin1Char('.');
    }
    return lines;
}
