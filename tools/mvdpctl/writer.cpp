#include "writer.h"

#include "csvrow.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

namespace
{

class TextWriter : public Writer
{
public:
    explicit TextWriter(Terminal &terminal)
        : m_terminal(terminal)
    {
    }

    void print(const QStringList &lines) override
    {
        for (const QString &line : lines)
            m_terminal.print(line);
    }
    void say(const QString &sentence) override { m_terminal.say(sentence); }
    void note(const QString &line) override { m_terminal.note(line); }

private:
    Terminal &m_terminal;
};

class JsonWriter : public Writer
{
public:
    explicit JsonWriter(Terminal &terminal)
        : m_terminal(terminal)
    {
    }

    void record(const QStringList & /*columns*/, const QJsonObject &record) override
    {
        m_terminal.printUtf8(QJsonDocument(record).toJson());
    }
    void beginList(const QStringList & /*columns*/, const QString &name) override { m_list = name; }
    void add(const QJsonObject &record) override
    {
        if (m_list.isEmpty())
            m_terminal.printUtf8(QJsonDocument(record).toJson(QJsonDocument::Compact) + '\n');
        else
            m_records.append(record);
    }
    void endList(int ignored) override
    {
        record({}, {{m_list, m_records}, {QStringLiteral("ignored"), ignored}});
    }

private:
    Terminal &m_terminal;
    QString m_list;
    QJsonArray m_records;
};

class CsvWriter : public Writer
{
public:
    explicit CsvWriter(Terminal &terminal)
        : m_terminal(terminal)
    {
    }

    void record(const QStringList &columns, const QJsonObject &record) override
    {
        begin(columns);
        add(record);
    }
    void begin(const QStringList &columns) override
    {
        m_columns = columns;
        m_terminal.printUtf8(csvLine(columns).toUtf8());
    }
    void beginList(const QStringList &columns, const QString & /*name*/) override { begin(columns); }
    void add(const QJsonObject &record) override
    {
        m_terminal.printUtf8(csvLine(csvFields(record, m_columns)).toUtf8());
    }

private:
    Terminal &m_terminal;
    QStringList m_columns;
};

} // namespace

std::unique_ptr<Writer> makeWriter(const Arguments &arguments, Terminal &terminal)
{
    if (arguments.isSet("json") && arguments.isSet("csv"))
        throwUsage(QStringLiteral("--json and --csv exclude each other"));
    if (arguments.isSet("json"))
        return std::make_unique<JsonWriter>(terminal);
    if (arguments.isSet("csv"))
        return std::make_unique<CsvWriter>(terminal);
    return std::make_unique<TextWriter>(terminal);
}
