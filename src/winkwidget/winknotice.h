#ifndef WINKNOTICE_H
#define WINKNOTICE_H

#include <QtCore/qnamespace.h>

class QLabel;
class QTimer;
class QWidget;

// What the two notices have in common. GUI thread only.

const Qt::WindowFlags NoticeWindowFlags = Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint;
const int BlinkIntervalMs = 1000;

// Sets the interval, in ms, of a timer that keeps to the millisecond. Qt 5 and later make timers coarse by
// default: they may be off by a twentieth.
void setPreciseInterval(QTimer &timer, int intervalMs);

// Puts the panel's IP address and model description into the labels. Blocks while the platform service is
// asked for the description, if it is not known yet.
void showPanelIdentity(QLabel &ipAddress, QLabel &deviceName);

// Moves a window to the middle of the X screen, by the window's size at this moment; leaves it where it is
// when the display cannot be opened.
void centreOnXScreen(QWidget &window);

// Shows a window above all others, also when it is shown already and covered. Under a window manager the
// window also gets the focus, because a program that fills the screen stays in front while it has the focus.
// Without a window manager the focus stays where it is, since nothing would return it.
void showOnTop(QWidget &window);

// Shows the label if it is hidden, else hides it.
void blink(QLabel &label);

#endif // WINKNOTICE_H
