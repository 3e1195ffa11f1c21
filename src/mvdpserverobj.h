#ifndef MVDPSERVEROBJ_H
#define MVDPSERVEROBJ_H

#include <QtCore/QThread>

// The server thread. It serves for the life of the process and cannot be stopped.
class MVDPServerObj : public QThread
{
protected:
    void run() override;
};

#endif // MVDPSERVEROBJ_H
