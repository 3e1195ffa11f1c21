#include "jsonplaces.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

#include <algorithm>

namespace
{

// Passes over a well-formed text. At the end of any other it stops, and its places are then of no use.
class JsonWalk
{
public:
    JsonWalk(const QString &text, TextFile::Offset at)
        : m_text(text)
        , m_at(at)
    {
    }

    TextFile::Offset at() const { return m_at; }

    QChar next()
    {
        while (m_at < m_text.size() && m_text.at(m_at).isSpace())
            ++m_at;
        return m_at < m_text.size() ? m_text.at(m_at) : QChar();
    }

    // Steps into the list or object here, or over the separator of its entries; false at its end.
    bool stepIn()
    {
        const QChar character = next();
        if (character.isNull() || character == QLatin1Char(']') || character == QLatin1Char('}'))
            return false;
        ++m_at;
        return !next().isNull() && next() != QLatin1Char(']') && next() != QLatin1Char('}');
    }

    QString name()
    {
        const auto start = m_at;
        passString();
        const QString written = m_text.mid(start, m_at - start);
        const QJsonDocument document =
            QJsonDocument::fromJson(QStringLiteral("[%1]").arg(written).toUtf8()); // for its escapes
        if (next() == QLatin1Char(':'))
            ++m_at;
        next();
        return document.array().first().toString();
    }

    void passValue()
    {
        int depth = 0;
        do {
            const QChar character = next();
            if (character.isNull())
                return;
            if (character == QLatin1Char('"')) {
                passString();
                continue;
            }
            const bool opens = character == QLatin1Char('[') || character == QLatin1Char('{');
            const bool closes = character == QLatin1Char(']') || character == QLatin1Char('}');
            depth += opens ? 1 : closes ? -1 : 0;
            if (opens || closes || isSign(character))
                ++m_at;
            else
                passWord();
        } while (depth > 0);
    }

private:
    static bool isSign(QChar character)
    {
        return character == QLatin1Char(',') || character == QLatin1Char(':');
    }

    void passString()
    {
        for (++m_at; m_at < m_text.size() && m_text.at(m_at) != QLatin1Char('"'); ++m_at) {
            if (m_text.at(m_at) == QLatin1Char('\\'))
                ++m_at;
        }
        m_at = std::min(m_at + 1, m_text.size());
    }

    // A number, true, false or null.
    void passWord()
    {
        static const QString ends = QStringLiteral(",:]}[{\"");
        while (m_at < m_text.size() && !m_text.at(m_at).isSpace() && !ends.contains(m_text.at(m_at)))
            ++m_at;
    }

    const QString &m_text;
    TextFile::Offset m_at;
};

JsonPlace placeOfEntry(JsonWalk &walk, const QString &text)
{
    JsonPlace place;
    place.at = walk.at();
    JsonWalk inside(text, walk.at());
    if (inside.next() == QLatin1Char('{')) {
        while (inside.stepIn()) {
            const QString name = inside.name();
            place.members[name] = inside.at();
            inside.passValue();
        }
    }
    walk.passValue();
    return place;
}

} // namespace

std::vector<JsonPlace> placesInList(const QString &text, const QString &member)
{
    JsonWalk walk(text, 0);
    TextFile::Offset list = walk.next() == QLatin1Char('[') ? walk.at() : -1;
    if (walk.next() == QLatin1Char('{')) {
        while (walk.stepIn()) {
            if (walk.name() == member)
                list = walk.at();
            walk.passValue();
        }
    }
    std::vector<JsonPlace> places;
    JsonWalk entries(text, std::max<TextFile::Offset>(list, 0));
    if (list < 0 || entries.next() != QLatin1Char('['))
        return places;
    while (entries.stepIn())
        places.push_back(placeOfEntry(entries, text));
    return places;
}
