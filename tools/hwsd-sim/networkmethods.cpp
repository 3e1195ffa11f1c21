#include "methods.h"

namespace
{

Reply networkResult(const QString &problem)
{
    if (problem.isEmpty())
        return one(Success);
    return refusal("com.zelt.HWSD.Error.Network", problem);
}

Reply unknownInterface(const QString &name)
{
    return refusal("com.zelt.HWSD.Error.UnknownInterface",
                   QString(QLatin1String("There is no interface \"%1\"")).arg(name));
}

} // namespace

Reply getConfig(Panel &panel, const QVariantList &)
{
    return one(panel.network.documentText());
}

Reply getInterfaceConfig(Panel &panel, const QVariantList &arguments)
{
    const QString name = arguments.first().toString();
    if (!panel.network.knows(name))
        return unknownInterface(name);
    return one(panel.network.interfaceText(name));
}

Reply setInterfaceConfig(Panel &panel, const QVariantList &arguments)
{
    const QString name = arguments.at(0).toString();
    if (!panel.network.knows(name))
        return unknownInterface(name);
    return networkResult(panel.network.configure(name, arguments.at(1).toString()));
}

Reply setConfig(Panel &panel, const QVariantList &arguments)
{
    return networkResult(panel.network.configureDocument(arguments.first().toString()));
}

Reply applyConfiguration(Panel &panel, const QVariantList &)
{
    return networkResult(panel.network.apply());
}

Reply resetConfiguration(Panel &panel, const QVariantList &)
{
    return networkResult(panel.network.reset());
}
