#ifndef PRIVATEXSERVER_H
#define PRIVATEXSERVER_H

#include <QtCore/QByteArray>
#include <QtCore/QProcess>

// An X display with an invisible screen of the given size; it ends with this object.
class PrivateXServer
{
public:
    ~PrivateXServer();

    // True once it accepts connections.
    bool start(int width, int height);

    // ":" and a number.
    QByteArray display() const { return m_display; }

    // Sets DISPLAY to it.
    void use() const { qputenv("DISPLAY", m_display); }

private:
    QProcess m_server;
    QByteArray m_display;
};

#endif // PRIVATEXSERVER_H
