#include "toolkitsetup.h"

#include <QtCore/QByteArray>
#include <QtCore/QCoreApplication>
#include <QtCore/QtGlobal>
#if QT_VERSION < 0x050000
#include <QX11Info>
#endif

namespace
{

// The resolution that the notice is designed for: it turns the letters' size in points into pixels.
const int DotsPerInch = 96;

} // namespace

void disableDesktopScaling()
{
    // An empty value counts as unset.
    qputenv("QT_SCALE_FACTOR", "");
    qputenv("QT_SCREEN_SCALE_FACTORS", "");
    qputenv("QT_DEVICE_PIXEL_RATIO", "");
    qputenv("QT_AUTO_SCREEN_SCALE_FACTOR", "0");
    qputenv("QT_ENABLE_HIGHDPI_SCALING", "0");
    qputenv("QT_FONT_DPI", QByteArray::number(DotsPerInch));
#if QT_VERSION >= 0x050600 && QT_VERSION < 0x060000
    QCoreApplication::setAttribute(Qt::AA_DisableHighDpiScaling);
#endif
}

void disableFontScaling()
{
#if QT_VERSION < 0x050000
    QX11Info::setAppDpiX(QX11Info::appScreen(), DotsPerInch);
    QX11Info::setAppDpiY(QX11Info::appScreen(), DotsPerInch);
#endif
}

void disableOpenGl()
{
    qputenv("QT_XCB_GL_INTEGRATION", "none");
}
