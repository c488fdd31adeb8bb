// What the plug-in, and the shell that it calls, make of a sample.
#ifndef ECLIPSE_INT_TESTS_LINT_OBSERVATION_H
#define ECLIPSE_INT_TESTS_LINT_OBSERVATION_H

#include "fake_host/fake_host.h"
#include "lint/rule.h"

namespace lint_test {

/// Performs a sample as a session with the plug-in itself, with the commands run by the shell. A descriptor file becomes the
/// one of a component "tools", a component's directory that component. The Eclipse prints its arguments instead of doing a
/// director's work. Gives, in order and without what is the same in every run:
///   "LOG LINE"                        without "eclipse_int: "
///   "NAME=value"                      variables written
///   "sh: [WORD][WORD]... exit N"      the director's arguments after "org.eclipse.equinox.p2.director"
/// with "DIRECTORY" for the working directory. Of very many lines, their number, the first command
/// and the last two.
fake::Texts observe(const eclipse_lint::Sample& sample);

}  // namespace lint_test

#endif
