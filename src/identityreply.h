#ifndef IDENTITYREPLY_H
#define IDENTITYREPLY_H

class MvdpDatagram;

// Rewrites a request in place into this panel's identity reply: every byte but packet type, command and tag.
// The network state is read afresh from the platform service, so that the reply tells what is in force now,
// also right after a change. Blocks for as long as the service does. Server thread.
void buildIdentityReply(MvdpDatagram &datagram);

#endif // IDENTITYREPLY_H
