#ifndef PRIVATEXSERVER_H
#define PRIVATEXSERVER_H

#include <QtCore/QByteArray>
#include <QtCore/QProcess>

// An X display with a screen of the size asked for that nobody sees; it ends with this object.
class PrivateXServer
{
public:
    ~PrivateXServer();

    // True once it accepts connections.
    bool start(int width, int height);

    // ":" and a number.
    QByteArray display() const { return m_display; }

    // Makes it the display that the environment names.
    void use() const { qputenv("DISPLAY", m_display); }

private:
    QProcess m_server;
    QByteArray m_display;
};

#endif // PRIVATEXSERVER_H
