#ifndef PLANRUN_H
#define PLANRUN_H

#include "failure.h"
#include "planfile.h"
#include "session.h"

// 'set --from': shows the plan, asks once, and sets one panel after the other. Goes on when one fails. The
// exit code is 3 when any panel refused, else 4 when this computer could not send, else 1 when any panel
// differs from the plan.
ExitCode runPlan(const PlanContent &content, Session &session);

#endif // PLANRUN_H
