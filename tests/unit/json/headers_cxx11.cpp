// Compiles the headers as C++11, and every class template and inline operation that callers reach.

#include <json/visitor.h>
#include <json/writer.h>

namespace
{

template <typename T>
void roundTrip(std::iostream &stream)
{
    T value;
    json::Reader::Read(value, stream);
    json::Writer::Write(value, stream);
}

} // namespace

void readAndWriteEveryKind(std::iostream &stream)
{
    roundTrip<json::Object>(stream);
    roundTrip<json::Array>(stream);
    roundTrip<json::String>(stream);
    roundTrip<json::Number>(stream);
    roundTrip<json::Boolean>(stream);
    roundTrip<json::Null>(stream);
    roundTrip<json::UnknownElement>(stream);
    json::Writer::Write("text", stream);
}
