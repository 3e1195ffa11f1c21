#include "winknotice.h"

#include "hwsdplatform.h"
#include "xscreen.h"

#include <QLabel>
#include <QWidget>

void showPanelIdentity(QLabel &ipAddress, QLabel &deviceName)
{
    HWSDPlatform *platform = HWSDPlatform::instance();
    ipAddress.setText(platform->ipAddressString());
    deviceName.setText(platform->systemInfoText());
}

void centreOnXScreen(QWidget &window)
{
    XScreenSize screen;
    if (readXScreenSize(screen))
        window.move((screen.width - window.width()) / 2, (screen.height - window.height()) / 2);
}

void blink(QLabel &label)
{
    label.setVisible(!label.isVisible());
}
