#include "xscreen.h"

// Xlib's header defines macros with everyday names; it is kept to this file.
#include <X11/Xlib.h>

bool readXScreenSize(XScreenSize &size)
{
    Display *display = XOpenDisplay(nullptr);
    if (!display)
        return false;
    const int screen = XDefaultScreen(display);
    size.width = XDisplayWidth(display, screen);
    size.height = XDisplayHeight(display, screen);
    XCloseDisplay(display);
    return true;
}
