// Measures programs that answer datagrams: the service and its floors. They take turns, so that they meet the
// same load. Each is named PORT:PID. Prints one line for each, in JSON. Exit code 1 when an answer stays
// away.
//
// Usage: benchmark-client ADDRESS latency COMMAND DATAGRAMS TARGET...
//            one datagram at a time
//        benchmark-client ADDRESS throughput COMMAND DATAGRAMS WINDOW TARGET...
//            WINDOW datagrams under way at any time
//        benchmark-client ADDRESS start RUNS PID PORT:PROGRAM [PORT:PROGRAM...]
//            from the start of a program to its first answer; programs start in the network and mount
//            namespaces of process PID. A program is one that takes the port as its argument, or the service.

#include "mvdpdatagram.h"
#include "target.h"

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;

// How many datagrams a target gets before it is the next one's turn.
const std::size_t LatencyTurn = 50;
const std::size_t ThroughputTurn = 500;
// How often a program that is starting is asked, in microseconds.
const long StartPollTime = 200;

double microsecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

double percentile(std::vector<double> &values, double share)
{
    std::sort(values.begin(), values.end());
    return values[static_cast<std::size_t>(share * static_cast<double>(values.size() - 1))];
}

std::size_t numberFrom(const std::string &text)
{
    char *end = nullptr;
    const unsigned long number = std::strtoul(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || number < 1 || number > 1000000000)
        throw std::runtime_error("'" + text + "' is no number");
    return number;
}

// "A:B" in its two parts.
std::pair<std::size_t, std::string> numbered(const std::string &text)
{
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos)
        throw std::runtime_error("'" + text + "' has no colon");
    return {numberFrom(text.substr(0, colon)), text.substr(colon + 1)};
}

// One target and its figures.
class Run
{
public:
    Run(const char *address, const std::string &name)
        : m_target(address, static_cast<std::uint16_t>(numbered(name).first),
                   static_cast<pid_t>(numberFrom(numbered(name).second)))
    {
    }

    void exchangeOneByOne(const MvdpDatagram &request, std::size_t datagrams)
    {
        begin();
        for (std::size_t i = 0; i < datagrams; ++i) {
            const auto start = Clock::now();
            send(request);
            receive();
            m_times.push_back(microsecondsSince(start));
        }
        end(datagrams);
    }

    void exchangeInFlight(const MvdpDatagram &request, std::size_t datagrams, std::size_t window)
    {
        begin();
        std::size_t sent = 0;
        while (sent < std::min(window, datagrams)) {
            send(request);
            ++sent;
        }
        for (std::size_t received = 0; received < datagrams; ++received) {
            receive();
            if (sent < datagrams) {
                send(request);
                ++sent;
            }
        }
        end(datagrams);
    }

    // Forgets what was measured so far.
    void reset()
    {
        for (std::vector<double> *each : {&m_times, &m_rates, &m_cpuTimes, &m_switchCounts})
            each->clear();
    }

    // Medians of the turns: a machine that stands still for a moment spoils one of them.
    void print()
    {
        std::printf("{\"cpu\": %.3f, \"switches\": %.3f, \"rate\": %.1f", percentile(m_cpuTimes, 0.5),
                    percentile(m_switchCounts, 0.5), percentile(m_rates, 0.5));
        if (!m_times.empty())
            std::printf(", \"p50\": %.2f, \"p95\": %.2f, \"p99\": %.2f", percentile(m_times, 0.5),
                        percentile(m_times, 0.95), percentile(m_times, 0.99));
        std::puts("}");
    }

private:
    void begin()
    {
        m_cpuTime = m_target.cpuTime();
        m_switches = m_target.switches();
        m_start = Clock::now();
    }
    void end(std::size_t count)
    {
        const double datagrams = static_cast<double>(count);
        m_rates.push_back(datagrams / microsecondsSince(m_start) * 1e6);
        m_cpuTimes.push_back((m_target.cpuTime() - m_cpuTime) / datagrams * 1e6);
        m_switchCounts.push_back(static_cast<double>(m_target.switches() - m_switches) / datagrams);
    }
    void send(const MvdpDatagram &request) const
    {
        if (!m_target.send(request))
            throw std::runtime_error("a datagram could not be sent");
    }
    void receive() const
    {
        MvdpDatagram reply;
        if (!m_target.receive(reply))
            throw std::runtime_error("an answer stayed away");
    }

    Target m_target;
    // Of the turn under way.
    Clock::time_point m_start;
    double m_cpuTime = 0;
    long m_switches = 0;
    std::vector<double> m_times;        // microseconds, of each datagram
    std::vector<double> m_rates;        // datagrams a second, of each turn
    std::vector<double> m_cpuTimes;     // microseconds a datagram, of each turn
    std::vector<double> m_switchCounts; // a datagram, of each turn
};

MvdpDatagram requestOf(const std::string &command)
{
    MvdpDatagram request;
    if (command != "echo" && command != "discover")
        throw std::runtime_error("'" + command + "' is neither echo nor discover");
    request.setRequestHeader(command == "echo" ? MvdpCommand::Echo : MvdpCommand::Discover);
    return request;
}

template <class Exchange>
void takeTurns(const char *address, const std::vector<std::string> &names, std::size_t datagrams,
               std::size_t turn, Exchange exchange)
{
    std::vector<std::unique_ptr<Run>> runs;
    for (const std::string &name : names)
        runs.push_back(std::make_unique<Run>(address, name));
    // What is done only once stays out of the figures.
    for (const auto &run : runs) {
        exchange(*run, std::min(datagrams, turn));
        run->reset();
    }
    for (std::size_t done = 0; done < datagrams; done += turn) {
        for (const auto &run : runs)
            exchange(*run, std::min(turn, datagrams - done));
    }
    for (const auto &run : runs)
        run->print();
}

void enterNamespace(const std::string &process, const char *kind)
{
    const int descriptor = ::open(("/proc/" + process + "/ns/" + kind).c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0 || ::setns(descriptor, 0) != 0)
        ::_exit(126);
}

pid_t startProgram(const std::string &nameSpace, const std::string &program, std::size_t port)
{
    const pid_t child = ::fork();
    if (child != 0)
        return child;
    enterNamespace(nameSpace, "net");
    enterNamespace(nameSpace, "mnt");
    ::execl(program.c_str(), program.c_str(), std::to_string(port).c_str(), static_cast<char *>(nullptr));
    ::_exit(127);
}

// In milliseconds.
double timeToFirstAnswer(const char *address, const std::string &nameSpace, const std::string &program,
                         std::size_t port)
{
    const MvdpDatagram request = requestOf("echo");
    const auto start = Clock::now();
    const pid_t process = startProgram(nameSpace, program, port);
    const Target target(address, static_cast<std::uint16_t>(port), process);
    bool answered = false;
    while (!answered && microsecondsSince(start) < 30e6) {
        target.send(request); // fails as long as nobody listens
        ::usleep(StartPollTime);
        answered = target.hasReceived();
    }
    const double time = microsecondsSince(start) / 1000;
    ::kill(process, SIGKILL);
    ::waitpid(process, nullptr, 0);
    if (!answered)
        throw std::runtime_error(program + " does not answer");
    return time;
}

void measureStart(const char *address, std::size_t rounds, const std::string &nameSpace,
                  const std::vector<std::string> &programs)
{
    std::vector<std::vector<double>> times(programs.size());
    for (std::size_t round = 0; round <= rounds; ++round) {
        for (std::size_t i = 0; i < programs.size(); ++i) {
            const auto [port, program] = numbered(programs[i]);
            const double time = timeToFirstAnswer(address, nameSpace, program, port);
            if (round > 0) // the files were not in memory before
                times[i].push_back(time);
        }
    }
    for (std::vector<double> &each : times)
        std::printf("{\"start\": %.3f}\n", percentile(each, 0.5));
}

void run(const std::vector<std::string> &arguments)
{
    const char *address = arguments.at(0).c_str();
    const std::string &measure = arguments.at(1);
    const auto rest = [&arguments](long from) {
        return std::vector<std::string>(arguments.begin() + from, arguments.end());
    };
    // Indexed with at(): an argument that is missing is an exception.
    if (measure == "latency") {
        const MvdpDatagram request = requestOf(arguments.at(2));
        takeTurns(address, rest(4), numberFrom(arguments.at(3)), LatencyTurn,
                  [&](Run &run, std::size_t datagrams) { run.exchangeOneByOne(request, datagrams); });
    } else if (measure == "throughput") {
        const MvdpDatagram request = requestOf(arguments.at(2));
        const std::size_t window = numberFrom(arguments.at(4));
        takeTurns(address, rest(5), numberFrom(arguments.at(3)), ThroughputTurn,
                  [&](Run &run, std::size_t datagrams) { run.exchangeInFlight(request, datagrams, window); });
    } else if (measure == "start") {
        measureStart(address, numberFrom(arguments.at(2)), arguments.at(3), rest(4));
    } else {
        throw std::runtime_error("'" + measure + "' is no measure");
    }
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 6) {
        std::fprintf(stderr, "benchmark-client: too few arguments; its source tells them\n");
        return 2;
    }
    try {
        run(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "benchmark-client: %s\n", error.what());
        return 1;
    }
    return 0;
}
