// The picture of the hand, as it is compiled into the program.

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QResource>
#include <QtCore/QtEndian>
#include <QtGui/QImage>
#include <QtGui/QPixmap>
#include <QtTest/QtTest>

namespace
{

const int Size = 128;

QString iconPath()
{
    return QStringLiteral(":/images/hand-icon.bmp");
}

} // namespace

class HandIconTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void standsAloneInItsFolder();
    void isStoredZlibCompressed();
    void headerFields_data();
    void headerFields();
    void qtReadsIt();
    void pictureIsAHandOnWhite();
    void rowsStandBottomUp();

private:
    QByteArray m_bytes;
};

void HandIconTest::initTestCase()
{
    QFile file(iconPath());
    QVERIFY(file.open(QIODevice::ReadOnly));
    m_bytes = file.readAll();
    QCOMPARE(m_bytes.size(), 49206);
}

void HandIconTest::standsAloneInItsFolder()
{
    QCOMPARE(QDir(QStringLiteral(":/images")).entryList(), QStringList(QStringLiteral("hand-icon.bmp")));
}

void HandIconTest::isStoredZlibCompressed()
{
    const QResource resource(iconPath());
    QVERIFY(resource.isValid());
    QCOMPARE(resource.compressionAlgorithm(), QResource::ZlibCompression);
    QVERIFY(resource.size() < m_bytes.size());
}

void HandIconTest::headerFields_data()
{
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("width");
    QTest::addColumn<quint32>("value");
    QTest::newRow("signature BM") << 0 << 2 << 0x4d42u;
    QTest::newRow("size of the file") << 2 << 4 << 49206u;
    QTest::newRow("reserved") << 6 << 4 << 0u;
    QTest::newRow("offset of the pixels") << 10 << 4 << 54u;
    QTest::newRow("size of the second header") << 14 << 4 << 40u;
    QTest::newRow("width") << 18 << 4 << 128u;
    // A negative height would mean that the first row is the top one.
    QTest::newRow("height") << 22 << 4 << 128u;
    QTest::newRow("planes") << 26 << 2 << 1u;
    QTest::newRow("bits per pixel") << 28 << 2 << 24u;
    QTest::newRow("no compression") << 30 << 4 << 0u;
    QTest::newRow("size of the pixels") << 34 << 4 << 49152u;
    QTest::newRow("pixels per metre across") << 38 << 4 << 4724u;
    QTest::newRow("pixels per metre down") << 42 << 4 << 4724u;
    QTest::newRow("colours in the palette") << 46 << 4 << 0u;
    QTest::newRow("important colours") << 50 << 4 << 0u;
}

void HandIconTest::headerFields()
{
    QFETCH(int, offset);
    QFETCH(int, width);
    QFETCH(quint32, value);
    const char *field = m_bytes.constData() + offset;
    const quint32 found = width == 2 ? qFromLittleEndian<quint16>(field) : qFromLittleEndian<quint32>(field);
    QCOMPARE(found, value);
}

void HandIconTest::qtReadsIt()
{
    const QPixmap pixmap(iconPath());
    QVERIFY(!pixmap.isNull());
    QCOMPARE(pixmap.size(), QSize(Size, Size));
}

// White all around, and inside a sufficient share of colour within a dark outline.
void HandIconTest::pictureIsAHandOnWhite()
{
    const QImage image(iconPath());
    QCOMPARE(image.size(), QSize(Size, Size));
    int dark = 0, coloured = 0;
    for (int y = 0; y < Size; ++y) {
        for (int x = 0; x < Size; ++x) {
            const QColor colour = image.pixelColor(x, y);
            if (x == 0 || y == 0 || x == Size - 1 || y == Size - 1)
                QCOMPARE(colour, QColor(Qt::white));
            dark += colour.lightness() < 64;
            coloured += colour.saturation() > 128 && colour.lightness() >= 64;
        }
    }
    const int share = Size * Size / 100;
    QVERIFY2(coloured > 15 * share && coloured < 60 * share, QByteArray::number(coloured).constData());
    QVERIFY2(dark > 5 * share && dark < 30 * share, QByteArray::number(dark).constData());
}

// The first row in the file is the lowest in the picture.
void HandIconTest::rowsStandBottomUp()
{
    const QImage image(iconPath());
    const auto *pixels = reinterpret_cast<const uchar *>(m_bytes.constData()) + 54;
    for (int y = 0; y < Size; ++y) {
        for (int x = 0; x < Size; ++x) {
            const uchar *pixel = pixels + ((Size - 1 - y) * Size + x) * 3;
            QCOMPARE(image.pixel(x, y), qRgb(pixel[2], pixel[1], pixel[0]));
        }
    }
}

QTEST_MAIN(HandIconTest)

#include "handicontest.moc"
