#ifndef PLAYEDPANEL_H
#define PLAYEDPANEL_H

#include <thread>

// A panel in a thread of its own, on every address of this machine: 02:00:5e:10:00:01 at 127.0.0.1/8 without
// a gateway. It answers every request as a panel does, and takes the settings that it is sent.
class PlayedPanel
{
public:
    PlayedPanel();
    ~PlayedPanel();
    PlayedPanel(const PlayedPanel &) = delete;
    PlayedPanel &operator=(const PlayedPanel &) = delete;

private:
    void answerUntilStopped() const;

    const int m_socket;
    std::thread m_thread;
};

#endif // PLAYEDPANEL_H
