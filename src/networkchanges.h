#ifndef NETWORKCHANGES_H
#define NETWORKCHANGES_H

#include <QtCore/QtGlobal>

// A non-blocking socket that becomes readable with each change of what the groups stand for, RTMGRP_... of
// <linux/rtnetlink.h>. The kernel puts its message there after the change and before whoever made it is told
// that it is done. A recv() fails with EAGAIN as long as nothing has changed; ENOBUFS says that more has than
// the socket could hold. -1 when there is no such socket to be had; the caller closes it.
int openNetworkChanges(quint32 groups);

#endif // NETWORKCHANGES_H
