#ifndef XSCREEN_H
#define XSCREEN_H

// In pixels of the X server, without the toolkit's scaling.
struct XScreenSize {
    int width;
    int height;
};

// The size of the default screen of the X display that the environment names, asked of the server now. False
// when the display cannot be opened.
bool readXScreenSize(XScreenSize &size);

// Whether a window manager has made itself known on that display. False when the display cannot be opened.
bool windowManagerRuns();

#endif // XSCREEN_H
