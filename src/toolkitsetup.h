#ifndef TOOLKITSETUP_H
#define TOOLKITSETUP_H

// Makes the toolkit draw in pixels of the screen, without any scale or resolution of the desktop, the
// environment or the X server. The notice and its letters then have the same size with every Qt major. To be
// called before the application object is made.
void disableDesktopScaling();

// The part that Qt 4 can only set on an existing application object. Does nothing with later majors.
void disableFontScaling();

// Keeps the toolkit from loading OpenGL with its first window: the notice does not use it, and a renderer in
// software takes 50 MB of memory. To be called before the application object is made. Qt 4 loads none.
void disableOpenGl();

#endif // TOOLKITSETUP_H
