#ifndef COUNTEDWARNINGS_H
#define COUNTEDWARNINGS_H

#include "fuzztarget.h"

#include <QtCore/QString>
#include <QtCore/QtGlobal>

// While an object exists, warnings are counted instead of printed, because most inputs cause some. One at a
// time.
class CountedWarnings
{
public:
    CountedWarnings()
        : m_previous(qInstallMessageHandler(handle))
    {
        taken() = CountedText();
    }
    ~CountedWarnings() { qInstallMessageHandler(m_previous); }
    CountedWarnings(const CountedWarnings &) = delete;
    CountedWarnings &operator=(const CountedWarnings &) = delete;

    int count() const { return taken().count; }
    const QString &last() const { return taken().last; }

private:
    struct CountedText {
        int count = 0;
        QString last;
    };

    static CountedText &taken()
    {
        static CountedText text;
        return text;
    }
    static void handle(QtMsgType type, const QMessageLogContext &, const QString &text)
    {
        // No other message is expected here.
        REQUIRE(type == QtWarningMsg);
        ++taken().count;
        taken().last = text;
    }

    QtMessageHandler m_previous;
};

#endif // COUNTEDWARNINGS_H
