#include "modelcodes.h"

#include <QtTest/QtTest>

#include <limits>

class ModelCodesTest : public QObject
{
    Q_OBJECT
private slots:
    void everyCodeHasItsModelOrNone_data();
    void everyCodeHasItsModelOrNone();
};

void ModelCodesTest::everyCodeHasItsModelOrNone_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("model"); // null: none
    const auto row = [](int code, const char *model) {
        QTest::addRow("%d", code) << code << QString::fromLatin1(model);
    };
    row(501, "QM310-44LRNA");
    row(502, "QM316-44LRNA");
    row(503, nullptr);
    row(504, "QM313-44LRNA");
    row(505, nullptr);
    row(506, "QM413-JD562");
    row(507, nullptr);
    row(508, nullptr);
    row(509, "QM913-K8BW27");
    row(510, "QM916-K8BW27");
    row(511, "QM921-K8BW27");
    row(512, "QM927-K8BW27");
    row(513, "QM911-K8BW27");
    row(514, nullptr);
    row(515, nullptr);
    row(516, nullptr);
    row(517, nullptr);
    row(518, nullptr);
    row(519, "QMG911-44LRNA");
    row(520, "QMG913-44LRNA");
    row(521, "QMG916-44LRNA");
    row(522, "QMG921-44LRNA");
    row(523, "QMG927-44LRNA");
    row(524, nullptr);
    row(525, "QM906R-K8HW27");
    row(526, nullptr);
    row(527, nullptr);
    row(528, "QM913GD-K8BW27");
    row(529, "QM906N-K8HW27");
    row(530, "QM906C-K8HW27");
    row(531, nullptr);
    row(532, "QM921GD-K8BW27");
    for (const int outside : {0, 1, 500, 533, -1, -501, 501 + 65536, std::numeric_limits<int>::max(),
                              std::numeric_limits<int>::min()})
        row(outside, nullptr);
}

void ModelCodesTest::everyCodeHasItsModelOrNone()
{
    QFETCH(int, code);
    QFETCH(QString, model);
    const char *const found = modelCodeText(code);
    QCOMPARE(found == nullptr, model.isNull());
    QCOMPARE(QString::fromLatin1(found), model);
}

QTEST_GUILESS_MAIN(ModelCodesTest)

#include "modelcodestest.moc"
