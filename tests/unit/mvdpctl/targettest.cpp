#include "target.h"

#include "mvdptool/testpanel.h"

#include <QtTest/QtTest>

class TargetTest : public QObject
{
    Q_OBJECT

private slots:
    void labelSaysWhatIsKnown();
};

void TargetTest::labelSaysWhatIsKnown()
{
    QCOMPARE(panelLabel(testPanel()), QStringLiteral("02:00:5e:10:00:01 (192.168.10.5, QM316-44LRNA)"));
    Panel unknown;
    unknown.source = 0x0A000001;
    QCOMPARE(panelLabel(unknown), QStringLiteral("00:00:00:00:00:00 (10.0.0.1)"));
}

QTEST_APPLESS_MAIN(TargetTest)
#include "targettest.moc"
