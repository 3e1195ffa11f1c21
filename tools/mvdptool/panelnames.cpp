#include "panelnames.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>

namespace
{

const int LongestName = 64;
const QStringList Headings = {QStringLiteral("mac"), QStringLiteral("name"), QStringLiteral("remark")};

[[noreturn]] void throwInput(const QString &message, const QString &advice)
{
    throw ToolError{ToolError::BadInput, message, advice};
}

QString cellOf(const CsvRecord &row, int column)
{
    return column < 0 ? QString() : oneLine(row.at(static_cast<std::size_t>(column)).text);
}

} // namespace

PanelNames PanelNames::fromBytes(const QByteArray &bytes, const QString &fileName)
{
    TextFile file(bytes, fileName, ToolError::BadInput,
                  QStringLiteral("A file of names has the headings mac, name and remark in its first line."));
    PanelNames names;
    names.m_fileName = fileName;
    names.m_text = file.text();
    names.m_hasByteOrderMark = file.hasByteOrderMark();
    names.m_table = csvTable(file);
    const int macColumn = names.m_table.column("mac");
    const int nameColumn = names.m_table.column("name");
    const int remarkColumn = names.m_table.column("remark");
    for (std::size_t index = 0; macColumn >= 0 && index < names.m_table.rows.size(); ++index) {
        const CsvRecord &row = names.m_table.rows[index];
        const CsvField &macField = row[static_cast<std::size_t>(macColumn)];
        const QString macCell = macField.text.trimmed();
        // Control characters are still in it.
        const QString name =
            nameColumn < 0 ? QString() : row[static_cast<std::size_t>(nameColumn)].text.trimmed();
        const auto mac = macFromText(macCell);
        if (macCell.isEmpty())
            file.addMistake(macField.at, QStringLiteral("there is no MAC address"));
        else if (!mac)
            file.addMistake(macField.at, QStringLiteral("%1 is no MAC address").arg(quoted(macCell)));
        const QString unfit = nameMistake(name);
        if (!name.isEmpty() && !unfit.isEmpty())
            file.addMistake(row[static_cast<std::size_t>(nameColumn)].at, unfit);
        if (mac && isZero(*mac) && !name.isEmpty())
            file.addMistake(macField.at, QStringLiteral("the MAC address of zeros names no panel"));
        if (!mac || isZero(*mac))
            continue;
        const auto added = names.m_entries.insert({*mac, {{name, cellOf(row, remarkColumn)}, index}});
        if (!added.second)
            file.addMistake(macField.at,
                            QStringLiteral("%1 is in the file already, in line %2")
                                .arg(macText(*mac))
                                .arg(file.lineOf(names.m_table.rows[added.first->second.row].front().at)));
    }
    file.throwMistakes();
    return names;
}

PanelNames PanelNames::read(const QString &path)
{
    return fromBytes(TextFile::bytesOf(path), path);
}

PanelLabel PanelNames::labelOf(const MacAddress &mac) const
{
    const auto found = m_entries.find(mac);
    return found == m_entries.end() ? PanelLabel() : found->second.label;
}

std::vector<MacAddress> PanelNames::named(const QString &name) const
{
    std::vector<MacAddress> macs;
    const QString wanted = name.trimmed();
    for (const auto &[mac, entry] : m_entries) {
        if (!wanted.isEmpty() && entry.label.name.compare(wanted, Qt::CaseInsensitive) == 0)
            macs.push_back(mac);
    }
    return macs;
}

std::vector<MacAddress> PanelNames::withPiece(const QString &piece) const
{
    std::vector<MacAddress> macs;
    for (const auto &[mac, entry] : m_entries) {
        if (!piece.isEmpty() && entry.label.name.contains(piece, Qt::CaseInsensitive))
            macs.push_back(mac);
    }
    return macs;
}

void PanelNames::setName(const MacAddress &mac, const QString &name)
{
    const QString text = name.trimmed();
    const QString unfit = text.isEmpty() ? QString() : nameMistake(text);
    if (!unfit.isEmpty())
        throwInput(unfit, QStringLiteral("Choose another name."));
    if (isZero(mac))
        throwInput(QStringLiteral("a panel without a MAC address cannot have a name"),
                   QStringLiteral("Its platform service may be down: restart it."));
    if (labelOf(mac).name == text)
        return;
    PanelNames changed = *this;
    if (changed.m_table.headings.isEmpty())
        changed.addLine(Headings);
    else if (changed.m_table.column("name") < 0)
        changed.addNameColumn();
    changed = fromBytes(changed.toBytes(), m_fileName);
    const auto found = changed.m_entries.find(mac);
    if (found == changed.m_entries.end()) {
        changed.addRow(mac, text);
    } else {
        const auto column = static_cast<std::size_t>(changed.m_table.column("name"));
        const CsvField &field = changed.m_table.rows[found->second.row][column];
        changed.replace(field.at, field.end, csvField(text));
    }
    *this = fromBytes(changed.toBytes(), m_fileName);
}

void PanelNames::addNameColumn()
{
    for (auto row = m_table.rows.rbegin(); row != m_table.rows.rend(); ++row)
        replace(row->back().end, row->back().end, m_table.separator);
    replace(m_table.header.back().end, m_table.header.back().end, m_table.separator + QStringLiteral("name"));
}

void PanelNames::addRow(const MacAddress &mac, const QString &name)
{
    QStringList fields;
    for (const QString &heading : m_table.headings)
        fields << (heading == QLatin1String("mac")    ? macText(mac)
                   : heading == QLatin1String("name") ? csvField(name)
                                                      : QString());
    addLine(fields);
}

void PanelNames::addLine(const QStringList &fields)
{
    const bool isOpen =
        !m_text.isEmpty() && m_text.back() != QLatin1Char('\n') && m_text.back() != QLatin1Char('\r');
    if (isOpen)
        m_text += lineEnd();
    m_text += fields.join(m_table.separator) + lineEnd();
}

void PanelNames::replace(TextFile::Offset from, TextFile::Offset to, const QString &field)
{
    m_text.replace(from, to - from, field);
}

QString PanelNames::lineEnd() const
{
    if (m_text.contains(QStringLiteral("\r\n")))
        return QStringLiteral("\r\n");
    return m_text.contains(QLatin1Char('\n')) || !m_text.contains(QLatin1Char('\r')) ? QStringLiteral("\n")
                                                                                     : QStringLiteral("\r");
}

QByteArray PanelNames::toBytes() const
{
    const QString text = m_text.isEmpty() ? Headings.join(QLatin1Char(',')) + QLatin1Char('\n') : m_text;
    return (m_hasByteOrderMark ? QByteArray("\xEF\xBB\xBF") : QByteArray()) + text.toUtf8();
}

void PanelNames::write(const QString &path) const
{
    const QFileInfo info(path);
    // To replace a device by a file would break the system.
    if (info.exists() && !info.isFile())
        throwInput(QStringLiteral("'%1' is no ordinary file, so names cannot be kept in it").arg(path),
                   QStringLiteral("Give the name of a file that you may write."));
    if (!QDir().mkpath(info.absolutePath()))
        throwInput(QStringLiteral("the folder '%1' cannot be made").arg(info.absolutePath()),
                   QStringLiteral("Give the name of a file that you may write."));
    QSaveFile file(path);
    const QByteArray bytes = toBytes();
    const bool isWritten = file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    if (!isWritten || !file.commit())
        throwInput(QStringLiteral("'%1' cannot be written: %2").arg(path, file.errorString()),
                   QStringLiteral("Give the name of a file that you may write."));
}

QString PanelNames::nameMistake(const QString &name)
{
    const QString text = name.trimmed();
    if (text.isEmpty())
        return QStringLiteral("the name is empty");
    if (text.toUcs4().size() > LongestName)
        return QStringLiteral("the name %1 has more than %2 characters").arg(quoted(text)).arg(LongestName);
    if (oneLine(text) != text)
        return QStringLiteral("the name %1 has control characters").arg(quoted(oneLine(text)));
    if (macFromText(text) || ipv4FromText(text))
        return QStringLiteral("%1 is an address, so it cannot be a name").arg(quoted(text));
    return QString();
}
