#include "nearest.h"

#include <algorithm>
#include <vector>

namespace
{

// Longer words are pasted, not typed. Bounds the time for a word of any length.
const int LongestWord = 200;

// The number of changes between two words, where exchanged neighbours count as one.
int distance(const QString &one, const QString &other)
{
    const auto width = static_cast<std::size_t>(other.size()) + 1;
    std::vector<int> beforeLast(width);
    std::vector<int> last(width);
    std::vector<int> row(width);
    for (std::size_t column = 0; column < width; ++column)
        row[column] = static_cast<int>(column);
    for (int line = 1; line <= static_cast<int>(one.size()); ++line) {
        beforeLast.swap(last);
        last.swap(row);
        row[0] = line;
        for (std::size_t column = 1; column < width; ++column) {
            const int at = static_cast<int>(column);
            const bool isSame = one.at(line - 1) == other.at(at - 1);
            row[column] =
                std::min({last[column] + 1, row[column - 1] + 1, last[column - 1] + (isSame ? 0 : 1)});
            const bool isExchanged = line > 1 && at > 1 && one.at(line - 1) == other.at(at - 2) &&
                                     one.at(line - 2) == other.at(at - 1);
            if (isExchanged)
                row[column] = std::min(row[column], beforeLast[column - 2] + 1);
        }
    }
    return row.back();
}

} // namespace

QString nearest(const QString &word, const QStringList &candidates)
{
    const QString wanted = word.left(LongestWord).toLower();
    int least = std::max(1, static_cast<int>(wanted.size()) / 3);
    QString found;
    for (const QString &candidate : candidates) {
        const int changes = distance(wanted, candidate.left(LongestWord).toLower());
        if (changes == least && !found.isNull() && candidate != found) {
            found = QStringLiteral("");
        } else if (changes < least || (changes == least && found.isNull())) {
            least = changes;
            found = candidate;
        }
    }
    return found;
}

QString didYouMean(const QString &word, const QStringList &candidates)
{
    const QString found = nearest(word, candidates);
    return found.isEmpty() ? QString() : QStringLiteral(": did you mean '%1'?").arg(found);
}
