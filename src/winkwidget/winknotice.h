#ifndef WINKNOTICE_H
#define WINKNOTICE_H

#include <QtCore/qnamespace.h>

class QLabel;
class QWidget;

// What the two notices have in common. GUI thread only.

const Qt::WindowFlags NoticeWindowFlags = Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint;
const int BlinkIntervalMs = 1000;

// Puts the panel's IP address and model description into the labels. Blocks while the platform service is
// asked for a description that nobody needed yet.
void showPanelIdentity(QLabel &ipAddress, QLabel &deviceName);

// Moves a window to the middle of the X screen, by the window's size at this moment; leaves it where it is
// when the display cannot be opened.
void centreOnXScreen(QWidget &window);

// Shows the label if it is hidden, else hides it.
void blink(QLabel &label);

#endif // WINKNOTICE_H
