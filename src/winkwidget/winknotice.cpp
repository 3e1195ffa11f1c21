#include "winknotice.h"

#include "hwsdplatform.h"
#include "xscreen.h"

#include <QLabel>
#include <QWidget>
#include <QtCore/QTimer>

void setPreciseInterval(QTimer &timer, int intervalMs)
{
    timer.setInterval(intervalMs);
#if QT_VERSION >= 0x050000
    timer.setTimerType(Qt::PreciseTimer);
#endif
}

void showPanelIdentity(QLabel &ipAddress, QLabel &deviceName)
{
    HWSDPlatform *platform = HWSDPlatform::instance();
    // The name of the model comes from the factory and may look like markup.
    deviceName.setTextFormat(Qt::PlainText);
    ipAddress.setText(platform->ipAddressString());
    deviceName.setText(platform->systemInfoText());
}

void centreOnXScreen(QWidget &window)
{
    XScreenSize screen;
    if (readXScreenSize(screen))
        window.move((screen.width - window.width()) / 2, (screen.height - window.height()) / 2);
}

void showOnTop(QWidget &window)
{
    window.setVisible(true);
    window.raise();
    if (windowManagerRuns())
        window.activateWindow();
}

void blink(QLabel &label)
{
    label.setVisible(!label.isVisible());
}
