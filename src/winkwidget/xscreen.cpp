#include "xscreen.h"

// Xlib's header defines macros with everyday names; it is kept to this file.
#include <X11/Xatom.h>
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

bool windowManagerRuns()
{
    Display *display = XOpenDisplay(nullptr);
    if (!display)
        return false;
    // A window manager names a window of its own in this property, as window managers have agreed.
    const Atom name = XInternAtom(display, "_NET_SUPPORTING_WM_CHECK", True);
    Atom type = None;
    if (name != None) {
        int format;
        unsigned long items, rest;
        unsigned char *value = nullptr;
        XGetWindowProperty(display, XDefaultRootWindow(display), name, 0, 1, False, XA_WINDOW, &type, &format,
                           &items, &rest, &value);
        XFree(value);
    }
    XCloseDisplay(display);
    return type == XA_WINDOW;
}
