#include "network.h"

#include "namespaces.h"
#include "texts.h"

#include <QtCore/QTemporaryFile>

bool ip(const char *command)
{
    return runProgram(latin1("ip"), latin1(command).split(QLatin1Char(' ')));
}

bool changeTooMuch(const QByteArray &last)
{
    QTemporaryFile batch;
    if (!batch.open())
        return false;
    for (int i = 0; i < 2000; ++i)
        batch.write("addr add 10.1.0.7/16 dev eth0\naddr del 10.1.0.7/16 dev eth0\n");
    batch.write(last);
    batch.close();
    return runProgram(latin1("ip"), {latin1("-batch"), batch.fileName()});
}
