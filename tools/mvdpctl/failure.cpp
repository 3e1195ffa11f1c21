#include "failure.h"

namespace
{

struct KindFacts {
    ExitCode code;
    const char *advice; // where the engine has none
};

KindFacts factsOf(ToolError::Kind kind)
{
    switch (kind) {
    case ToolError::BadInput:
        return {ExitCode::Usage, ""};
    case ToolError::BadPlan:
        return {ExitCode::Usage, "Columns: mac, and address, netmask, gateway as needed; 'mvdpctl discover "
                                 "--csv' prints a table to begin with. Nothing was sent."};
    case ToolError::PortTaken:
        return {ExitCode::NetworkTrouble,
                "Give another --source-port, or leave it out to take any free port."};
    case ToolError::NothingSent:
        return {ExitCode::NetworkTrouble,
                "See which addresses this computer has, look at the cable, or choose with --interface."};
    case ToolError::NetworkTrouble:
        break;
    }
    return {ExitCode::NetworkTrouble, ""};
}

} // namespace

Failure failureOf(const ToolError &error)
{
    const KindFacts facts = factsOf(error.kind);
    return {facts.code, error.message,
            error.advice.isEmpty() ? QString::fromLatin1(facts.advice) : error.advice, error.details};
}
