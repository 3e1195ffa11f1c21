#ifndef PANEL_H
#define PANEL_H

#include "network.h"
#include "panelstate.h"

#include <functional>

// What the methods work on: the panel's state, and their two effects outside of it.
struct Panel {
    explicit Panel(bool applyToKernel)
        : network(state, applyToKernel)
    {
    }
    Panel(const Panel &) = delete;
    Panel &operator=(const Panel &) = delete;

    PanelState state;
    Network network;
    std::function<void()> restart;
    std::function<void(int plugged)> announceMouse;
};

#endif // PANEL_H
