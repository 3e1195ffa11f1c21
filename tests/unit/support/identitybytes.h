#ifndef IDENTITYBYTES_H
#define IDENTITYBYTES_H

#include <QtCore/QByteArray>

// The identity reply of a panel, with type, command and tag as given in hexadecimal.
inline QByteArray identityBytes(const char *typeCommandTag)
{
    return QByteArray::fromHex("5E130603"         //   0 magic
                               "04")              //   4 protocol version
           + QByteArray::fromHex(typeCommandTag)  //   5 type, command, tag
           + QByteArray::fromHex("0100A8C0"       //   8 address 192.168.0.1
                                 "00FFFFFF"       //  12 netmask 255.255.255.0
                                 "FE00A8C0"       //  16 gateway 192.168.0.254
                                 "001A2B3C4D5E"   //  20 MAC address
                                 "58020F278D01"   //  26 fixed identity
                                 "0000"           //  32 reserved
                                 "0738EA01"       //  34 partition version 0x01EA3807
                                 "0000"           //  38 reserved
                                 "00000200")      //  40 fixed bytes
           + "QM413-JD562" + QByteArray(53, '\0') //  44 description, 64 bytes
           + QByteArray(148, '\0');               // 108 reserved
}

#endif // IDENTITYBYTES_H
