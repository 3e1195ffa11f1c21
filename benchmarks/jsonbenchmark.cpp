// How long it takes to parse and to write the platform service's JSON: by src/json, and by two libraries that
// others use, from the same texts in the same run.
//
// The names are OPERATION/DOCUMENT/BY. Beside the time stand the bytes of JSON text a second and the blocks
// asked of the heap for one parse or write. Takes the options of Google Benchmark.

#include "countedmeasure.h"
#include "jsondocuments.h"
#include "jsonlibraries.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <stdexcept>
#include <string>

namespace
{

// Times the action, which returns the number of bytes of JSON text that it read or wrote.
template <typename Action>
void measureBytes(benchmark::State &state, Action action)
{
    std::size_t bytes = 0;
    measure(state, [&bytes, &action] { bytes = action(); });
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
}

template <typename Library>
void parse(benchmark::State &state, const std::string &text)
{
    measureBytes(state, [&text] {
        typename Library::Tree tree;
        Library::parse(text, tree);
        benchmark::DoNotOptimize(tree);
        return text.size();
    });
}

template <typename Library>
void write(benchmark::State &state, const std::string &text)
{
    typename Library::Tree tree;
    Library::parse(text, tree);
    measureBytes(state, [&tree] {
        std::string written = Library::write(tree);
        benchmark::DoNotOptimize(written);
        return written.size();
    });
}

template <typename Library>
nlohmann::json reread(const std::string &text)
{
    typename Library::Tree tree;
    Library::parse(text, tree);
    return nlohmann::json::parse(Library::write(tree));
}

// Nothing is compared that has not read the same.
void checkEqual(const std::string &text)
{
    const nlohmann::json expected = nlohmann::json::parse(text);
    if (reread<OwnJson>(text) != expected || reread<NlohmannJson>(text) != expected ||
        reread<RapidJson>(text) != expected)
        throw std::runtime_error("the libraries do not read the same in a text");
}

void addDocument(const std::string &name, const std::string &text)
{
    checkEqual(text);
    const std::string parsing = "parse/" + name;
    benchmark::RegisterBenchmark((parsing + "/own").c_str(), parse<OwnJson>, text);
    benchmark::RegisterBenchmark((parsing + "/nlohmann").c_str(), parse<NlohmannJson>, text);
    benchmark::RegisterBenchmark((parsing + "/RapidJSON").c_str(), parse<RapidJson>, text);
    const std::string writing = "write/" + name;
    benchmark::RegisterBenchmark((writing + "/own").c_str(), write<OwnJson>, text);
    benchmark::RegisterBenchmark((writing + "/nlohmann").c_str(), write<NlohmannJson>, text);
    benchmark::RegisterBenchmark((writing + "/RapidJSON").c_str(), write<RapidJson>, text);
}

void addAll()
{
    addDocument("record", interfaceText());
    for (const int interfaces : {1, 16, 256})
        addDocument("document of " + std::to_string(interfaces), documentText(interfaces));
}

} // namespace

int main(int argc, char **argv)
{
    try {
        benchmark::Initialize(&argc, argv);
        if (benchmark::ReportUnrecognizedArguments(argc, argv))
            return 2;
        addAll();
        benchmark::RunSpecifiedBenchmarks();
    } catch (const std::exception &error) {
        std::fprintf(stderr, "json-benchmark: %s\n", error.what());
        return 1;
    }
    return 0;
}
