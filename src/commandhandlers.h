#ifndef COMMANDHANDLERS_H
#define COMMANDHANDLERS_H

class MvdpDatagram;

// Carries out the command of a request whose header is in order, and rewrites the request in place into the
// reply. True when the reply is to be sent; false for a command that is none, or a request for another panel.
// Blocks for as long as the platform service does. Server thread.
bool handleCommand(MvdpDatagram &datagram);

#endif // COMMANDHANDLERS_H
