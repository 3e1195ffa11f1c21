// The methods that read the panel's hardware: memory chips, the plug-in module, identity and partition.

#include "methods.h"

#include <QtCore/QByteArray>

namespace
{

const uchar BoardSlave = 0x50;
const quint32 LongestRead = 65536;
const int VersionFieldSize = 20;
const int ModuleNameSize = 5;
const int SerialNumberSize = 3;
const int ManufactureCodeSize = 4;
// The systemInfo structure holds only two bytes of the code.
const int ShortManufactureCodeSize = 2;

QVariant byteValue(int number)
{
    return QVariant::fromValue(static_cast<uchar>(number & 0xff));
}

// `size` bytes, least significant first.
QByteArray littleEndian(int number, int size)
{
    QByteArray bytes;
    for (int i = 0; i < size; ++i)
        bytes.append(static_cast<char>(static_cast<quint32>(number) >> (8 * i) & 0xff));
    return bytes;
}

// Text in a field of fixed size: cut, or filled up with NUL bytes.
QByteArray textField(const QString &text, int size)
{
    const QByteArray bytes = text.toLatin1().left(size);
    return bytes + QByteArray(size - bytes.size(), '\0');
}

Handler sectionByte(const char *section, const char *key)
{
    return [section, key](Panel &panel, const QVariantList &) {
        return one(byteValue(panel.state.number(section, key)));
    };
}

// An access beyond the chip's end continues at its beginning, as in such chips.
Reply readChip(const Panel &panel, const char *section, uchar address, quint32 length)
{
    if (length > LongestRead)
        return values({Failure, QByteArray()});
    const QByteArray chip = panel.state.chip(section);
    QByteArray data;
    for (quint32 i = 0; i < length; ++i)
        data.append(chip.at(static_cast<int>((address + i) % static_cast<quint32>(chip.size()))));
    return values({Success, data});
}

Reply writeChip(Panel &panel, const char *section, uchar address, const QByteArray &data)
{
    QByteArray chip = panel.state.chip(section);
    if (data.size() > chip.size())
        return one(Failure);
    int position = address;
    for (const char byte : data) {
        chip[position] = byte;
        position = (position + 1) % static_cast<int>(chip.size());
    }
    panel.state.setChip(section, chip);
    return one(Success);
}

QByteArray functionArea(const Panel &panel)
{
    return QByteArray::fromHex(panel.state.text("plugin", "functionArea").toLatin1());
}

QByteArray versionField(const Panel &panel)
{
    return textField(panel.state.text("partition", "version"), VersionFieldSize);
}

QByteArray serialNumberField(const Panel &panel)
{
    return littleEndian(panel.state.number("identity", "serialNumber"), SerialNumberSize);
}

QByteArray moduleNameField(const Panel &panel)
{
    return textField(panel.state.text("identity", "moduleName"), ModuleNameSize);
}

} // namespace

Reply pluginRead(Panel &panel, const QVariantList &arguments)
{
    if (arguments.at(0).toUInt() != 0)
        return values({Failure, QByteArray()});
    return readChip(panel, "plugin", arguments.at(1).value<uchar>(), arguments.at(2).toUInt());
}

Reply pluginWrite(Panel &panel, const QVariantList &arguments)
{
    if (arguments.at(0).toUInt() != 0)
        return one(Failure);
    return writeChip(panel, "plugin", arguments.at(1).value<uchar>(), arguments.at(2).toByteArray());
}

Reply pluginSignature(Panel &panel, const QVariantList &)
{
    const PanelState &state = panel.state;
    return structure(
        {byteValue(state.number("plugin", "hCode")), byteValue(state.number("plugin", "hSubCode")),
         byteValue(state.number("plugin", "xCode")), byteValue(state.number("plugin", "xSubCode")),
         state.text("plugin", "name").toLatin1(), functionArea(panel)});
}

Reply pluginFunctionArea(Panel &panel, const QVariantList &)
{
    return one(functionArea(panel));
}

Handler pluginByte(const char *key)
{
    return sectionByte("plugin", key);
}

Reply pluginName(Panel &panel, const QVariantList &)
{
    return one(panel.state.text("plugin", "name").toLatin1());
}

Reply softwareModuleFlag(Panel &panel, const QVariantList &arguments)
{
    const quint32 bit = arguments.first().toUInt();
    const quint32 flags = static_cast<quint32>(panel.state.number("device", "softwareModuleFlags"));
    return one(bit < 32 && (flags >> bit & 1) != 0);
}

Reply boardRead(Panel &panel, const QVariantList &arguments)
{
    return readChip(panel, "eeprom", arguments.at(0).value<uchar>(), arguments.at(1).toUInt());
}

Reply slaveRead(Panel &panel, const QVariantList &arguments)
{
    if (arguments.at(0).value<uchar>() != BoardSlave)
        return values({Failure, QByteArray()});
    return readChip(panel, "eeprom", arguments.at(1).value<uchar>(), arguments.at(2).toUInt());
}

Reply boardWrite(Panel &panel, const QVariantList &arguments)
{
    return writeChip(panel, "eeprom", arguments.at(0).value<uchar>(), arguments.at(1).toByteArray());
}

Reply slaveWrite(Panel &panel, const QVariantList &arguments)
{
    if (arguments.at(0).value<uchar>() != BoardSlave)
        return one(Failure);
    return writeChip(panel, "eeprom", arguments.at(1).value<uchar>(), arguments.at(2).toByteArray());
}

Handler partitionByte(const char *key)
{
    return sectionByte("partition", key);
}

Reply partitionInfo(Panel &panel, const QVariantList &)
{
    const PanelState &state = panel.state;
    return structure({byteValue(state.number("partition", "day")),
                      byteValue(state.number("partition", "month")),
                      byteValue(state.number("partition", "year")),
                      byteValue(state.number("partition", "status")), versionField(panel)});
}

Reply partitionVersion(Panel &panel, const QVariantList &)
{
    return one(versionField(panel));
}

Handler identityByte(const char *key)
{
    return sectionByte("identity", key);
}

Reply systemInfo(Panel &panel, const QVariantList &)
{
    const auto field = [&panel](const char *key) { return byteValue(panel.state.number("identity", key)); };
    const QByteArray code =
        littleEndian(panel.state.number("identity", "manufactureCode"), ShortManufactureCodeSize);
    return structure({field("day"), field("month"), field("year"), serialNumberField(panel),
                      moduleNameField(panel), field("hwCode"), field("hwSubCode"), code, field("hwDispID")});
}

Reply manufactureCode(Panel &panel, const QVariantList &)
{
    return one(littleEndian(panel.state.number("identity", "manufactureCode"), ManufactureCodeSize));
}

Reply moduleName(Panel &panel, const QVariantList &)
{
    return one(moduleNameField(panel));
}

Reply serialNumber(Panel &panel, const QVariantList &)
{
    return one(serialNumberField(panel));
}
