#ifndef JSONLIBRARIES_H
#define JSONLIBRARIES_H

#include <json/reader.h>
#include <json/writer.h>

#include <nlohmann/json.hpp>
#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <sstream>
#include <stdexcept>
#include <string>

// Each library as its users use it: from text in memory to a tree and back, indented by tabs.

// By the interface that the library has too. It reads from streams, so the time to make one counts.
struct OwnJson {
    typedef json::Object Tree;

    static void parse(const std::string &text, Tree &tree)
    {
        std::istringstream stream(text);
        json::Reader::Read(tree, stream);
    }
    static std::string write(const Tree &tree)
    {
        std::ostringstream stream;
        json::Writer::Write(tree, stream);
        return stream.str();
    }
};

struct NlohmannJson {
    typedef nlohmann::json Tree;

    static void parse(const std::string &text, Tree &tree) { tree = Tree::parse(text); }
    static std::string write(const Tree &tree) { return tree.dump(1, '\t'); }
};

struct RapidJson {
    typedef rapidjson::Document Tree;

    static void parse(const std::string &text, Tree &tree)
    {
        if (tree.Parse(text.data(), text.size()).HasParseError())
            throw std::runtime_error("RapidJSON cannot read the text");
    }
    static std::string write(const Tree &tree)
    {
        rapidjson::StringBuffer buffer;
        rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
        writer.SetIndent('\t', 1);
        tree.Accept(writer);
        return std::string(buffer.GetString(), buffer.GetSize());
    }
};

#endif // JSONLIBRARIES_H
