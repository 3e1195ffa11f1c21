#ifndef PLANRUN_H
#define PLANRUN_H

#include "failure.h"
#include "plan.h"
#include "session.h"

// 'set --from': shows the plan, asks once, and sets one panel after the other. Goes on when one fails. The
// exit code is 3 when any panel refused, else 4 when this computer could not send, else 1 when any panel
// differs from the plan. With --dry-run it tells what would be done, and throws Failure for objections; the
// code is 1 when any panel was not found.
ExitCode runPlan(const PlanContent &content, Session &session);

// What --dry-run says of a panel.
const char *expectedResult(const PlanStep &step, bool isForced);

#endif // PLANRUN_H
