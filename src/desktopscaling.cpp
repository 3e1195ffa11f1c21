#include "desktopscaling.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QtGlobal>

void disableDesktopScaling()
{
    // An empty value counts as unset.
    qputenv("QT_SCALE_FACTOR", "");
    qputenv("QT_SCREEN_SCALE_FACTORS", "");
    qputenv("QT_DEVICE_PIXEL_RATIO", "");
    qputenv("QT_AUTO_SCREEN_SCALE_FACTOR", "0");
    qputenv("QT_ENABLE_HIGHDPI_SCALING", "0");
#if QT_VERSION >= 0x050600 && QT_VERSION < 0x060000
    QCoreApplication::setAttribute(Qt::AA_DisableHighDpiScaling);
#endif
}
