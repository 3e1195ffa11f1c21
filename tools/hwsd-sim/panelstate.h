#ifndef PANELSTATE_H
#define PANELSTATE_H

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QString>

// The whole state of the simulated panel as one JSON document; examples/panel.json is the built-in one
// and at the same time the description of the form: a merged document may only hold its keys and types.
class PanelState
{
public:
    PanelState();

    const QJsonObject &document() const { return m_document; }

    // Lays the patch over the state: objects member by member, everything else replaced. In the maps
    // (interfaces, leases, users, storage, factory interfaces) new members may be added and null removes
    // one. Returns an empty text when done; else, with the state unchanged, which key or type is not the
    // form's.
    QString merge(const QJsonObject &patch);

    // The same, from a file's or a caller's text.
    QString mergeText(const QByteArray &text);

    // Members of the document; an absent one reads as 0 or empty.
    QJsonObject section(const char *name) const;
    void setSection(const char *name, const QJsonValue &value);
    int number(const char *section, const char *key) const;
    void setNumber(const char *section, const char *key, int value);
    QString text(const char *section, const char *key) const;
    void setText(const char *section, const char *key, const QString &text);

    // Simulated memory chips of 256 bytes, one a section ("eeprom", "plugin").
    QByteArray chip(const char *section) const;
    void setChip(const char *section, const QByteArray &content);

private:
    QJsonObject m_document;
};

#endif // PANELSTATE_H
