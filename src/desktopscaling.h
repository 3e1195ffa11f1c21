#ifndef DESKTOPSCALING_H
#define DESKTOPSCALING_H

// Makes the toolkit draw in pixels of the screen, whatever scale the desktop asks for, so that the notice has
// the same size with every Qt major. To be called before the application object is made.
void disableDesktopScaling();

#endif // DESKTOPSCALING_H
