#ifndef GROUPMEMBERSHIP_H
#define GROUPMEMBERSHIP_H

// The membership of a UDP socket in the protocol's multicast group. The kernel refuses it while no route
// leads to the group, as on a panel that starts before its network; it is then tried again with each change
// of the network. It also refuses while it is short of memory; it is then tried again each second, as it is
// where changes cannot be watched. Server thread only.
class GroupMembership
{
public:
    // Does not own the socket.
    explicit GroupMembership(int socket);
    ~GroupMembership();

    // False when the kernel refuses, with its reason in errno. The network is watched from then on.
    bool join();

    // Returns at once when nothing is watched. Else waits until a datagram or an error is there to be
    // received, or until the kernel lets the group be joined; a warning then says so, and the watching ends.
    void joinUntilReadable();

private:
    GroupMembership(const GroupMembership &);
    GroupMembership &operator=(const GroupMembership &);

    bool tryToJoin();
    void takeChange();
    void stopWatching();

    const int m_socket;
    bool m_pending;
    int m_refusal; // errno of the last attempt
    int m_changes; // netlink socket that tells of changes; -1 for none
};

#endif // GROUPMEMBERSHIP_H
