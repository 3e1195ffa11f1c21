#ifndef NEAREST_H
#define NEAREST_H

#include <QtCore/QString>
#include <QtCore/QStringList>

// Finds what a mistyped word was probably meant to be.

// The one candidate that needs the fewest changes to become `word`: a character more, less or another, or two
// neighbours exchanged, in upper or lower case. Empty when it needs more than one change in three characters,
// and when several are equally near, because a guess among them would be an accident.
QString nearest(const QString &word, const QStringList &candidates);

// ": did you mean 'wink'?", for the end of a message; a full stop is not needed. Empty without a nearest one.
QString didYouMean(const QString &word, const QStringList &candidates);

#endif // NEAREST_H
