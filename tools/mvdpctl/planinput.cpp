#include "planinput.h"

#include "textfile.h"

namespace
{

std::optional<PlanFormat> formatOption(const Arguments &arguments)
{
    const QString text = arguments.text("format");
    if (!arguments.isSet("format"))
        return std::nullopt;
    if (text == QLatin1String("csv"))
        return PlanFormat::Csv;
    if (text == QLatin1String("json"))
        return PlanFormat::Json;
    throwUsage(QStringLiteral("--format takes csv or json, not %1").arg(quoted(text)));
}

PlanFormat formatOf(const Arguments &arguments)
{
    const QString path = arguments.text("from");
    const auto told = formatOption(arguments);
    if (told)
        return *told;
    if (isStandardInput(path))
        throwUsage(QStringLiteral("standard input has no name that says how the plan is written"),
                   QStringLiteral("Give --format csv or --format json."));
    const auto named = planFormatOf(path);
    if (!named)
        throwUsage(QStringLiteral("'%1' ends in neither .csv nor .json").arg(path),
                   QStringLiteral("The end of its name says how a plan is written, or --format does."));
    return *named;
}

} // namespace

bool isStandardInput(const QString &path)
{
    return path == QLatin1String("-");
}

PlanContent readPlan(const Arguments &arguments, Terminal &terminal)
{
    const QString path = arguments.text("from");
    const PlanFormat format = formatOf(arguments);
    const bool isPiped = isStandardInput(path);
    const QByteArray bytes = isPiped ? TextFile::bytesOfStandardInput() : TextFile::bytesOf(path);
    const QString name = isPiped ? QStringLiteral("standard input") : path;
    PlanContent content = parsePlan(bytes, format, name);
    QStringList unknown;
    for (const QString &column : content.unknownColumns)
        unknown << quoted(column);
    if (!unknown.isEmpty())
        terminal.warn(QStringLiteral("%1: these columns are passed on and not used: %2")
                          .arg(name, unknown.join(QStringLiteral(", "))));
    return content;
}
