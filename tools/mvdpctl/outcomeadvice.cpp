#include "outcomeadvice.h"

namespace
{

struct OutcomeFacts {
    ExitCode code;
    const char *advice;
};

OutcomeFacts factsOf(Outcome outcome)
{
    switch (outcome) {
    case Outcome::Applied:
    case Outcome::AlreadySo:
        break;
    case Outcome::Refused:
        return {ExitCode::Refused,
                "It could not read its settings, so nothing was changed: its platform service may be down. "
                "Restart the panel and try again. The settings in the result may be what it was just told."};
    case Outcome::Unchanged:
        return {ExitCode::Refused, "It may need a restart, or its platform service ignores the change; what "
                                   "it shows now is in the result."};
    case Outcome::Elsewhere:
        return {ExitCode::Refused,
                "It may tell what it was told and could not apply: its platform service may be down. "
                "Restart the panel and try again. Behind a router that translates addresses all may be "
                "well. From where it answered is in the result."};
    case Outcome::Unverified:
        return {
            ExitCode::NoAnswer,
            "Look for it with 'mvdpctl discover'; its new subnet may keep its answers from this computer."};
    case Outcome::NoAnswer:
        return {ExitCode::NoAnswer, "See with 'mvdpctl discover' which settings it has now, and try again."};
    case Outcome::NotFound:
        return {ExitCode::NoAnswer,
                "Check its power and cable, and its MAC address in the plan; see 'mvdpctl discover'."};
    case Outcome::Blocked:
        return {ExitCode::NoAnswer,
                "First have that other panel take its own new address; then run the plan again."};
    case Outcome::Trouble:
        return {ExitCode::NetworkTrouble,
                "See which addresses this computer has, look at the cable, and run the plan again."};
    case Outcome::NotTried:
        return {ExitCode::NoAnswer, "Run the plan again: what is done is skipped."};
    }
    return {ExitCode::Done, ""};
}

} // namespace

ExitCode outcomeCode(Outcome outcome)
{
    return factsOf(outcome).code;
}

QString adviceAfter(const SetResult &result)
{
    if (result.deafness.isEmpty())
        return QString::fromLatin1(factsOf(result.outcome).advice);
    return result.deafness +
           QStringLiteral(": give this one such an address on %1, and see with 'mvdpctl discover'.")
               .arg(result.heardOn);
}
