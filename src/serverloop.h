#ifndef SERVERLOOP_H
#define SERVERLOOP_H

// Serves the protocol for ever, one datagram at a time: the body of the server thread. Owns the program's one
// UDP socket. Failures to set it up are warned of once; the loop runs all the same.
[[noreturn]] void runServerLoop();

#endif // SERVERLOOP_H
