#ifndef DESKTOPSCALING_H
#define DESKTOPSCALING_H

// Makes the toolkit draw in pixels of the screen, whatever scale or resolution the desktop, the environment
// or the X server tell, so that the notice and its letters have the same size with every Qt major. To be
// called before the application object is made.
void disableDesktopScaling();

// The part of it that Qt 4 takes only from an application object that exists; nothing with later majors.
void disableFontScaling();

#endif // DESKTOPSCALING_H
