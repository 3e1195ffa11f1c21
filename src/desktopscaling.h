#ifndef DESKTOPSCALING_H
#define DESKTOPSCALING_H

// Makes the toolkit draw in pixels of the screen, without any scale or resolution of the desktop, the
// environment or the X server. The notice and its letters then have the same size with every Qt major. To be
// called before the application object is made.
void disableDesktopScaling();

// The part that Qt 4 can only set on an existing application object. Does nothing with later majors.
void disableFontScaling();

#endif // DESKTOPSCALING_H
