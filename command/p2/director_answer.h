// Whether a director has answered, or another program that was started in its place.
#ifndef ECLIPSE_INT_P2_DIRECTOR_ANSWER_H
#define ECLIPSE_INT_P2_DIRECTOR_ANSWER_H

#include <string>
#include <string_view>

namespace eclipse_p2 {

/// What the output of a command in English, as the commands of our own are, has instead of the end of an answer; empty when it
/// has that.
std::string why_not_an_answer(std::string_view output);

}  // namespace eclipse_p2

#endif
