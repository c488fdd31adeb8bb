// Joining and replacing.
#include "host_kit/checks/groups.h"

namespace host_kit {

namespace {

constexpr std::string_view join_promise = "The items in the order of the container, with `separator` between adjacent ones.";
constexpr std::string_view replace_promise =
    "`text` with every occurrence of `from` replaced by `to`, and nothing else changed.";
constexpr std::string_view join_harm = "The list of features or repositories in the director command is wrong.";
constexpr std::string_view replace_harm = "The summary of failed features is garbled, or parts of it are missing.";
constexpr std::string_view join_fix = "Put the separator before each item but the first.";
constexpr std::string_view replace_fix = "Search on after each replacement until find() returns npos, and append the rest.";

using Texts = std::vector<std::string>;
using TextSet = std::set<std::string>;

constexpr Check items_are_joined_in_order{
    .name = "join/order",
    .level = Level::must,
    .title = "join() joins the items of a list in their order.",
    .promise = join_promise,
    .harm = join_harm,
    .fix = join_fix,
    .perform =
        [](const Probe&) {
          expect_text("join({\"b\", \"a\", \"b\"}, \", \")", "b, a, b", join(Texts{"b", "a", "b"}, ", "),
                      {{"b, a, b, ", "a separator is added after the last item"},
                       {", b, a, b", "a separator is added before the first item"},
                       {"a, b", "the items are sorted and made unique"},
                       {"a, b, b", "the items are sorted"},
                       {"bab", "the separator is missing"},
                       {"b,a,b", "only the first character of the separator is used"}});
          expect_text("join({\"a\", \"b\"}, \"\")", "ab", join(Texts{"a", "b"}, ""));
        },
    .after = "join/one",
};

constexpr Check set_is_joined_in_order{
    .name = "join/set",
    .level = Level::must,
    .title = "join() joins the items of a set in their order.",
    .promise = join_promise,
    .harm = join_harm,
    .fix = join_fix,
    .perform =
        [](const Probe&) {
          expect_text(
              "join() of the set {\"B\", \"a\", \"b\"}", "B,a,b", join(TextSet{"b", "a", "B"}, ","),
              {{"a,b,B", "the items are sorted again, ignoring case"}, {"B,a,b,", "a separator is added after the last item"}});
          expect_text("join() of an empty set", "", join(TextSet(), ","));
          expect_text("join() of a set of one", "a", join(TextSet{"a"}, ","));
        },
};

constexpr Check nothing_joined_is_empty{
    .name = "join/empty",
    .level = Level::must,
    .title = "join() of no items is the empty text.",
    .promise = join_promise,
    .harm = "A crash, or an empty feature in the command.",
    .fix = join_fix,
    .perform = [](const Probe&) { expect_text("join() of nothing", "", join(Texts(), ",")); },
    .if_it_ends = "the first or last item is accessed without a check that there is one",
};

constexpr Check one_item_has_no_separator{
    .name = "join/one",
    .level = Level::must,
    .title = "join() of one item is this item, without a separator.",
    .promise = join_promise,
    .harm = join_harm,
    .fix = join_fix,
    .perform =
        [](const Probe&) {
          expect_text("join({\"a\"}, \",\")", "a", join(Texts{"a"}, ","), {{"a,", "a separator is added after the last item"}});
        },
};

constexpr Check empty_items_are_joined{
    .name = "join/empty-items",
    .level = Level::must,
    .title = "join() keeps empty items.",
    .promise = join_promise,
    .harm = join_harm,
    .fix = join_fix,
    .perform =
        [](const Probe&) {
          expect_text("join({\"\", \"a\", \"\"}, \",\")", ",a,", join(Texts{"", "a", ""}, ","),
                      {{"a", "empty items are left out"}, {"a,", "a separator is added only if there is text before it"}});
        },
    .after = "join/order",
};

constexpr Check many_items_are_joined{
    .name = "join/many",
    .level = Level::should,
    .title = "join() of very many items ends in time.",
    .promise = join_promise,
    .harm = "The installer hangs with many features.",
    .fix = "Append to one text.",
    .perform =
        [](const Probe&) {
          std::string expected = "item";
          for (int i = 1; i < 20'000; ++i) expected += ",item";
          expect_text("join() of 20000 items", expected, join(Texts(20'000, "item"), ","));
        },
    .after = "join/order",
    .if_it_ends = "the text is copied for each item",
};

constexpr Check every_occurrence_is_replaced{
    .name = "replace/every-occurrence",
    .level = Level::must,
    .title = "replaceAllSubstrings() replaces every occurrence.",
    .promise = replace_promise,
    .harm = replace_harm,
    .fix = replace_fix,
    .perform =
        [](const Probe&) {
          expect_text("replaceAllSubstrings(\"a\\nb\\n\\nc\", \"\\n\", \"<p>\")", "a<p>b<p><p>c",
                      replaceAllSubstrings("a\nb\n\nc", "\n", "<p>"),
                      {{"a<p>b\n\nc", "only the first occurrence is replaced"},
                       {"a<p>b<p>\nc", "the character after a replacement is skipped"}});
          expect_text("replaceAllSubstrings(\"\\na\\n\", \"\\n\", \"<p>\")", "<p>a<p>",
                      replaceAllSubstrings("\na\n", "\n", "<p>"),
                      {{"\na<p>", "the first character is skipped"}, {"<p>a\n", "the last character is skipped"}});
          expect_text("replaceAllSubstrings(\"a<br>b\", \"<br>\", \"\")", "ab", replaceAllSubstrings("a<br>b", "<br>", ""));
        },
};

constexpr Check nothing_else_is_changed{
    .name = "replace/nothing-else",
    .level = Level::must,
    .title = "replaceAllSubstrings() changes nothing else.",
    .promise = replace_promise,
    .harm = replace_harm,
    .fix = replace_fix,
    .perform =
        [](const Probe&) {
          expect_text("replaceAllSubstrings() of a text without an occurrence", "abc", replaceAllSubstrings("abc", "\n", "<p>"),
                      {{"", "the rest after the last occurrence is missing"}});
          expect_text("replaceAllSubstrings() of an empty text", "", replaceAllSubstrings("", "\n", "<p>"));
          expect_text("replaceAllSubstrings(\"a.b\", \".\", \"-\")", "a-b", replaceAllSubstrings("a.b", ".", "-"),
                      {{"---", "\".\" is treated as a regular expression"}});
        },
};

constexpr Check replacement_may_contain_what_is_replaced{
    .name = "replace/contains-itself",
    .level = Level::must,
    .title = "replaceAllSubstrings() accepts a new text that contains the old one.",
    .promise = replace_promise,
    .harm = "The action never returns, and uses up all memory.",
    .fix = replace_fix,
    .perform =
        [](const Probe&) {
          expect_text("replaceAllSubstrings(\"a\\nb\", \"\\n\", \"\\n\\n\")", "a\n\nb",
                      replaceAllSubstrings("a\nb", "\n", "\n\n"));
        },
    .after = "replace/every-occurrence",
    .if_it_ends = "the search continues at the beginning of the replacement, not after it",
};

constexpr Check zero_bytes_are_kept{
    .name = "replace/zero-byte",
    .level = Level::must,
    .title = "replaceAllSubstrings() keeps zero bytes.",
    .promise = replace_promise,
    .harm = "The output of a director is cut at a zero byte in the summary.",
    .fix = "Work on the std::string, not on c_str().",
    .perform =
        [](const Probe&) {
          const std::string text("a\0b\nc", 5);
          expect_text("replaceAllSubstrings() of a text with a zero byte", std::string_view("a\0b<p>c", 7),
                      replaceAllSubstrings(text, "\n", "<p>"), {{"a", "the text is handled as a C string"}});
        },
    .after = "replace/every-occurrence",
};

constexpr Check many_occurrences_are_replaced{
    .name = "replace/many",
    .level = Level::should,
    .title = "replaceAllSubstrings() of very many occurrences ends in time.",
    .promise = replace_promise,
    .harm = "The installer hangs after a failed run with much output.",
    .fix = "Append to a new text instead of replacing within the old one.",
    .perform =
        [](const Probe&) {
          std::string text;
          std::string expected;
          for (int i = 0; i < 50'000; ++i) {
            text += "a line of a director's output\n";
            expected += "a line of a director's output<p>";
          }
          expect_text("replaceAllSubstrings() of 50000 lines", expected, replaceAllSubstrings(text, "\n", "<p>"));
        },
    .after = "replace/contains-itself",
    .if_it_ends = "the whole text is copied, or searched from its beginning, for each occurrence",
};

constexpr Check nothing_is_replaced_by_nothing{
    .name = "replace/empty-from",
    .level = Level::may,
    .title = "replaceAllSubstrings() of an empty text changes nothing.",
    .promise = replace_promise,
    .harm = "None today: the plug-in never replaces an empty text.",
    .fix = "Return the text if `from` is empty.",
    .perform =
        [](const Probe&) {
          expect_text("replaceAllSubstrings(\"abc\", \"\", \"x\")", "abc", replaceAllSubstrings("abc", "", "x"));
        },
    .after = "replace/every-occurrence",
    .if_it_ends = "an empty text is found everywhere, forever",
};

}  // namespace

std::vector<Check> text_checks() {
  return {items_are_joined_in_order,    set_is_joined_in_order,        nothing_joined_is_empty,
          one_item_has_no_separator,    empty_items_are_joined,        many_items_are_joined,
          every_occurrence_is_replaced, nothing_else_is_changed,       replacement_may_contain_what_is_replaced,
          zero_bytes_are_kept,          many_occurrences_are_replaced, nothing_is_replaced_by_nothing};
}

}  // namespace host_kit
