#include "notices.h"

#include "winkwidget/winkhorwidget.h"
#include "winkwidget/winkverwidget.h"

#include <QtTest/QtTest>
#include <QtWidgets/QLabel>

void addForms()
{
    QTest::addColumn<QString>("form");
    QTest::newRow("landscape") << Landscape;
    QTest::newRow("portrait") << Portrait;
}

std::unique_ptr<QWidget> newNotice(const QString &form)
{
    if (form == Landscape)
        return std::make_unique<WinkHorWidget>();
    return std::make_unique<WinkVerWidget>();
}

QLabel &label(const QWidget &notice, const char *name)
{
    auto *found = notice.findChild<QLabel *>(QString::fromLatin1(name));
    if (!found)
        qFatal("The notice has no label %s", name);
    return *found;
}
