#ifndef PANELSTATE_H
#define PANELSTATE_H

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QString>

// The whole state of the simulated panel as one JSON document. examples/panel.json is the built-in state and
// also defines the form: a merged document may only hold its keys and types.
class PanelState
{
public:
    PanelState();

    const QJsonObject &document() const { return m_document; }

    // Merges the patch into the state: objects member by member, everything else replaced. In the maps
    // (interfaces, leases, users, storage, factory interfaces) the patch may add members, and null removes
    // one. Returns an empty text when done; else the state is unchanged and the text names the key or type
    // that does not fit the form.
    QString merge(const QJsonObject &patch);

    // The same for text from a file or a caller.
    QString mergeText(const QByteArray &text);

    // Members of the document; a missing one reads as 0 or empty.
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
