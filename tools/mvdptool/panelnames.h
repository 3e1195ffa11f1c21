#ifndef PANELNAMES_H
#define PANELNAMES_H

#include "addresses.h"
#include "csvreader.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <cstddef>
#include <map>
#include <vector>

// What the user calls a panel. Texts of one line, without control characters.
struct PanelLabel {
    QString name;   // empty: none
    QString remark; // free
};

// A file of names: a table with the headings "mac", "name" and "remark", as needed and in any order. Other
// columns are kept, so that a plan and the output of a search can be files of names.
class PanelNames
{
public:
    // Without names; written, it has the headings alone.
    PanelNames() = default;

    // `fileName` is for messages. Throws ToolError, which names every mistake (the first twenty) by its
    // place, "names.csv:3:5", see TextFile::place(): what csvTable() finds, an unfit name, a MAC address that
    // cannot be read, is there twice, or is missing. Rows with the MAC address of zeros, as a search may
    // print them, are overlooked unless they have a name.
    static PanelNames fromBytes(const QByteArray &bytes, const QString &fileName);
    // Throws ToolError also when there is no such file.
    static PanelNames read(const QString &path);

    PanelLabel labelOf(const MacAddress &mac) const; // empty texts for a panel that is not in the file
    // The panels of this name, as a whole, regardless of case.
    std::vector<MacAddress> named(const QString &name) const;
    // The panels with this piece in their names.
    std::vector<MacAddress> withPiece(const QString &piece) const;

    // Without blanks at its ends; an empty name is removed. Throws ToolError for an unfit name, for the MAC
    // address of zeros, and when the file would have too many columns or panels; nothing is changed then.
    void setName(const MacAddress &mac, const QString &name);

    // The text as it was read, with no other change than the names that were set.
    QByteArray toBytes() const;
    // Makes missing folders. The file has the old or the new content, also after a crash. Throws ToolError.
    void write(const QString &path) const;

    // Why the text cannot be a name; empty when it can. A name has at most 64 characters, none of them a
    // control character, and is neither a MAC nor an IP address.
    static QString nameMistake(const QString &name);

private:
    struct Entry {
        PanelLabel label;
        std::size_t row;
    };

    void addNameColumn();
    void addRow(const MacAddress &mac, const QString &name);
    void addLine(const QStringList &fields);
    void replace(TextFile::Offset from, TextFile::Offset to, const QString &field);
    QString lineEnd() const;

    QString m_fileName;
    QString m_text;
    bool m_hasByteOrderMark = false;
    CsvTable m_table; // its places are those of m_text
    std::map<MacAddress, Entry> m_entries;
};

#endif // PANELNAMES_H
