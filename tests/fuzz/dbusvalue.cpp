#include "dbusvalue.h"

#include <QtCore/QString>

#include <algorithm>
#include <cstring>

namespace
{

// What D-Bus allows is 32 arrays and as many structures in a signature, and 64 of both in a value.
const int MostNested = 15;
const int DeepestVariant = 30;
const int LongestSignature = 60;
const char End = '\t';
const char BasicTypes[] = "ybnqiuxtdsog";

bool isBasic(char type)
{
    return type != '\0' && std::strchr(BasicTypes, type) != nullptr;
}

// Of a value that begins with a type's letter.
int alignmentOf(char type)
{
    switch (type) {
    case 'n':
    case 'q':
        return 2;
    case 'x':
    case 't':
    case 'd':
    case '(':
    case '{':
        return 8;
    case 'y':
    case 'g':
    case 'v':
        return 1;
    default:
        return 4;
    }
}

// Reads a signature that may be none.
class SignatureReader
{
public:
    explicit SignatureReader(const QByteArray &text)
        : m_text(text.left(LongestSignature))
    {
    }

    // The complete types.
    std::vector<QByteArray> types()
    {
        std::vector<QByteArray> found;
        while (m_at < m_text.size()) {
            if (isNext(')') || isNext('}'))
                ++m_at;
            else
                add(found, type());
        }
        return found;
    }

private:
    bool isNext(char character) const { return m_at < m_text.size() && m_text.at(m_at) == character; }
    static void add(std::vector<QByteArray> &types, const QByteArray &type)
    {
        if (!type.isEmpty())
            types.push_back(type);
    }
    static QByteArray orByte(const QByteArray &type) { return type.isEmpty() ? QByteArray("y") : type; }

    // Empty for a letter that is no type.
    QByteArray type()
    {
        if (m_at >= m_text.size() || isNext(')') || isNext('}'))
            return QByteArray();
        const char letter = m_text.at(m_at++);
        if (isBasic(letter) || letter == 'v')
            return QByteArray(1, letter);
        if (letter == 'a' && m_arrays < MostNested) {
            ++m_arrays;
            const QByteArray element = isNext('{') && m_structures < MostNested ? entry() : orByte(type());
            --m_arrays;
            return 'a' + element;
        }
        if (letter == '(' && m_structures < MostNested)
            return structure();
        return QByteArray();
    }
    QByteArray structure()
    {
        ++m_structures;
        QByteArray members;
        while (m_at < m_text.size() && !isNext(')')) {
            if (isNext('}'))
                ++m_at;
            else
                members += type();
        }
        ++m_at;
        --m_structures;
        return '(' + orByte(members) + ')';
    }
    QByteArray entry()
    {
        ++m_at;
        ++m_structures;
        const QByteArray key = type();
        const QByteArray value = orByte(type());
        if (isNext('}'))
            ++m_at;
        --m_structures;
        return '{' + (key.size() == 1 && isBasic(key.at(0)) ? key : QByteArray("s")) + value + '}';
    }

    const QByteArray m_text;
    int m_at = 0;
    int m_arrays = 0;
    int m_structures = 0;
};

// Where the complete type at a place of a signature ends.
int behindType(const QByteArray &signature, int at)
{
    while (signature.at(at) == 'a')
        ++at;
    int open = 0;
    do {
        const char letter = signature.at(at++);
        open += letter == '(' || letter == '{' ? 1 : letter == ')' || letter == '}' ? -1 : 0;
    } while (open > 0);
    return at;
}

class ValueReader
{
public:
    explicit ValueReader(const QByteArray &text)
        : m_text(text)
    {
    }

    DBusValue value(const QByteArray &signature, int depth)
    {
        DBusValue result;
        result.signature = signature;
        switch (signature.at(0)) {
        case 's':
            // UTF-8 without a zero.
            result.bytes = QString::fromUtf8(upToEnd()).remove(QChar(0)).toUtf8();
            break;
        case 'o':
            result.bytes = objectPath(upToEnd());
            break;
        case 'g':
            for (const QByteArray &type : SignatureReader(upToEnd()).types())
                result.bytes += type;
            // Qt warns of an empty one, which D-Bus allows.
            if (result.bytes.isEmpty())
                result.bytes = "s";
            break;
        case 'b':
            result.number = byte() & 1;
            break;
        case 'a':
            array(result, depth);
            break;
        case '(':
        case '{':
            for (int at = 1, end = 1; at < static_cast<int>(signature.size()) - 1; at = end) {
                end = behindType(signature, at);
                result.children.push_back(value(signature.mid(at, end - at), depth + 1));
            }
            break;
        case 'v': {
            const std::vector<QByteArray> types = SignatureReader(upTo(' ')).types();
            const bool isByte = types.empty() || depth > DeepestVariant;
            result.children.push_back(value(isByte ? QByteArray("y") : types.front(), depth + 1));
            break;
        }
        default:
            for (int i = 0; i < alignmentOf(signature.at(0)); ++i)
                result.number |= static_cast<std::uint64_t>(byte()) << 8 * i;
        }
        return result;
    }

private:
    bool atEnd() const { return m_at >= m_text.size() || m_text.at(m_at) == End; }
    std::uint8_t byte()
    {
        return m_at < m_text.size() ? static_cast<std::uint8_t>(m_text.at(m_at++)) : std::uint8_t(0);
    }
    // What stands before the character, which is passed.
    QByteArray upTo(char character)
    {
        const auto found = m_text.indexOf(character, m_at);
        const int end = static_cast<int>(found < 0 ? m_text.size() : found);
        const QByteArray taken = m_text.mid(m_at, end - m_at);
        m_at = end + 1;
        return taken;
    }
    QByteArray upToEnd() { return upTo(End); }
    static QByteArray objectPath(const QByteArray &text)
    {
        QByteArray path;
        for (const char character : text) {
            if (character == '/' && !path.isEmpty() && !path.endsWith('/'))
                path += '/';
            else if ((character >= 'a' && character <= 'z') || (character >= '0' && character <= '9'))
                path += path.isEmpty() ? QByteArray("/") + character : QByteArray(1, character);
        }
        while (path.endsWith('/'))
            path.chop(1);
        return path.isEmpty() ? QByteArray("/") : path;
    }
    void array(DBusValue &result, int depth)
    {
        const QByteArray element = result.signature.mid(1);
        if (element == "y") {
            result.bytes = upToEnd();
            return;
        }
        // Each element takes at least one byte.
        while (!atEnd())
            result.children.push_back(value(element, depth + 1));
        ++m_at;
    }

    const QByteArray &m_text;
    int m_at = 0;
};

} // namespace

QByteArray DBusAnswer::signature() const
{
    QByteArray types;
    for (const DBusValue &argument : arguments)
        types += argument.signature;
    return types;
}

DBusAnswer dbusAnswer(const QByteArray &text)
{
    DBusAnswer answer;
    answer.isError = text.startsWith('!');
    const int begin = answer.isError ? 1 : 0;
    const auto blank = text.indexOf(' ');
    const int end = static_cast<int>(blank < begin ? text.size() : blank);
    const QByteArray values = text.mid(end + 1);
    ValueReader reader(values);
    for (const QByteArray &type : SignatureReader(text.mid(begin, end - begin)).types())
        answer.arguments.push_back(reader.value(type, 0));
    return answer;
}

void DBusWriter::align(int size)
{
    while (m_bytes.size() % size != 0)
        m_bytes += '\0';
}

void DBusWriter::number(std::uint64_t value, int size)
{
    align(size);
    for (int i = 0; i < size; ++i)
        m_bytes += static_cast<char>(value >> 8 * (m_isBigEndian ? size - 1 - i : i));
}

void DBusWriter::text(const QByteArray &text)
{
    number(static_cast<std::uint64_t>(text.size()), 4);
    m_bytes += text;
    m_bytes += '\0';
}

void DBusWriter::signature(const QByteArray &signature)
{
    number(static_cast<std::uint64_t>(signature.size()), 1);
    m_bytes += signature;
    m_bytes += '\0';
}

void DBusWriter::replace(int position, std::uint32_t value)
{
    DBusWriter writer(m_isBigEndian);
    writer.number(value, 4);
    std::copy_n(writer.bytes().constData(), 4, m_bytes.data() + position);
}

void DBusWriter::array(const DBusValue &value)
{
    number(0, 4);
    const int length = static_cast<int>(m_bytes.size()) - 4;
    align(alignmentOf(value.signature.at(1)));
    const int begin = static_cast<int>(m_bytes.size());
    m_bytes += value.bytes;
    for (const DBusValue &element : value.children)
        this->value(element);
    replace(length, static_cast<std::uint32_t>(m_bytes.size() - begin));
}

void DBusWriter::value(const DBusValue &value)
{
    const char type = value.signature.at(0);
    switch (type) {
    case 's':
    case 'o':
        text(value.bytes);
        break;
    case 'g':
        signature(value.bytes);
        break;
    case 'a':
        array(value);
        break;
    case 'v':
        signature(value.children.front().signature);
        this->value(value.children.front());
        break;
    case '(':
    case '{':
        align(8);
        for (const DBusValue &member : value.children)
            this->value(member);
        break;
    default:
        number(value.number, alignmentOf(type));
    }
}
