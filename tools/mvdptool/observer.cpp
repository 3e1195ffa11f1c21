#include "observer.h"

void Observer::progress(const QString &) {}

void Observer::warning(const QString &) {}

void Observer::error(const QString &) {}

void Observer::sent(const Request &, const std::vector<Destination> &) {}

void Observer::received(const Received &) {}

void Observer::ignored(const Received &, const QString &) {}

void Observer::overrun(std::uint32_t, int) {}
