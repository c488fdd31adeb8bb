// Session variables, operands, shared data and the mode of the user interface.
#include <map>

#include "host_kit/checks/groups.h"

namespace host_kit {

namespace {

constexpr std::string_view set_promise = "Sets a session variable.";
constexpr std::string_view map_promise =
    "The plug-in asks for one name only, \"KORU_YUM_CAPABILITY_PROVIDERS\", and treats the result as a "
    "`std::map<std::string, "
    "Component*>*` from a capability name to the component that provides it.";

constexpr const char* variable = "ECLIPSE_INT_CHECK";

/// The variables that the plug-in writes.
constexpr const char* written[] = {"ECLIPSE_INTEGRATION_REQUIRED",
                                   "ECLIPSE_IDE",
                                   "ECLIPSE_IDE_ENABLED",
                                   "USER_DEFINED_ECLIPSE_PATH_EMPTY",
                                   "USER_DEFINED_ECLIPSE_PATH_CORRECT",
                                   "ECLIPSE_VERSION",
                                   "ECLIPSE_VERSION_IS_SUPPORTED",
                                   "ECLIPSE_PATH",
                                   "QN_SCRIPTS_FAILED",
                                   "QN_SCRIPTS_COMPLETE_DESC"};

void round_trip(session_t* session, const char* name, const std::string& value) {
  env_set_string(session, std::string(name), value);
  expect_text("after env_set_string(" + std::string(name) + "), env_get_string", value, env_get_string(session, name));
}

constexpr Check unset_is_empty{
    .name = "env/unset-is-empty",
    .level = Level::must,
    .title = "A variable that is not set reads as the empty text.",
    .promise = "The value of a session variable, empty if it is not set.",
    .harm = "A text such as \"(null)\" is mistaken for a choice, a path or a version.",
    .fix = "Return an empty text for a variable that is not set.",
    .perform =
        [](const Probe& probe) {
          expect_text("env_get_string() of a variable that nobody set", "",
                      env_get_string(probe.session, "ECLIPSE_INT_CHECK_UNSET"));
        },
    .if_it_ends = "a std::string is made of a null pointer, or at() throws",
};

constexpr Check forms_write_one_variable{
    .name = "env/forms-agree",
    .level = Level::must,
    .title = "Both forms of env_set_string() set the same variable.",
    .promise = set_promise,
    .harm = "The plug-in does not find what it set with one form; ECLIPSE_PATH or the verdicts are lost.",
    .fix = "Let the form with const char* call the form with std::string.",
    .perform =
        [](const Probe& probe) {
          env_set_string(probe.session, variable, "characters");
          expect_text("after the form with const char*, env_get_string()", "characters",
                      env_get_string(probe.session, variable), {{"", "the two forms write to different places"}});
          const std::string other = "ECLIPSE_INT_CHECK_OTHER_FORM";
          env_set_string(probe.session, other, std::string("text"));
          expect_text("after the form with std::string, env_get_string()", "text",
                      env_get_string(probe.session, other.c_str()));
        },
};

constexpr Check later_value_replaces{
    .name = "env/later-value-replaces",
    .level = Level::must,
    .title = "A later value of a variable replaces the earlier one.",
    .promise = set_promise,
    .harm = "The verdict on an earlier Eclipse remains when the user names another one.",
    .fix = "Overwrite the value: variables[name] = value.",
    .perform =
        [](const Probe& probe) {
          env_set_string(probe.session, variable, "first");
          env_set_string(probe.session, variable, "second");
          expect_text("env_get_string() after two values", "second", env_get_string(probe.session, variable),
                      {{"first", "insert() or emplace(), which keep what is there"}});
        },
    .after = "env/forms-agree",
};

constexpr Check empty_value_is_kept{
    .name = "env/empty-value",
    .level = Level::must,
    .title = "A variable can be set to the empty text.",
    .promise = "Texts are bytes. No encoding is assumed, and an empty text means \"not set\" wherever a text can be missing.",
    .harm = "The version of an earlier Eclipse is compared instead of the empty one of this Eclipse.",
    .fix = "Store an empty value, or remove the variable.",
    .perform =
        [](const Probe& probe) {
          env_set_string(probe.session, variable, "text");
          env_set_string(probe.session, variable, "");
          expect_text("after env_set_string(\"\"), env_get_string()", "", env_get_string(probe.session, variable),
                      {{"text", "an empty value is taken for no value, and the old one stays"}});
        },
    .after = "env/later-value-replaces",
};

constexpr Check texts_are_copied{
    .name = "env/copied",
    .level = Level::must,
    .title = "A variable keeps its value when the caller changes its texts afterwards.",
    .promise = "The host copies both texts before it returns.",
    .harm = "The variable changes, or its memory is freed, as soon as the plug-in continues.",
    .fix = "Keep a std::string, not the pointer.",
    .perform =
        [](const Probe& probe) {
          char name[] = "ECLIPSE_INT_CHECK_COPIED";
          char value[] = "value";
          env_set_string(probe.session, name, value);
          name[0] = 'X';
          value[0] = 'X';
          expect_text("env_get_string() after the caller reused its buffers", "value",
                      env_get_string(probe.session, "ECLIPSE_INT_CHECK_COPIED"),
                      {{"Xalue", "the pointer to the value is kept instead of a copy"},
                       {"", "the pointer to the name is kept instead of a copy"}});
        },
    .after = "env/later-value-replaces",
};

constexpr Check long_value_is_whole{
    .name = "env/long-value",
    .level = Level::must,
    .title = "A very long value is kept whole.",
    .promise = set_promise,
    .harm = "The summary of failed features, which contains the output of the director, is cut.",
    .fix = "Keep a std::string instead of a buffer of a fixed size.",
    .perform = [](const Probe& probe) { round_trip(probe.session, variable, std::string(1'000'000, 'x')); },
    .after = "env/later-value-replaces",
};

constexpr Check bytes_are_kept{
    .name = "env/bytes-kept",
    .level = Level::must,
    .title = "A value keeps all bytes: spaces, percent signs, bytes that are not ASCII.",
    .promise = "Texts are bytes.",
    .harm = "A path with a space at its end, a percent sign or a letter of another language names another file.",
    .fix = "Store the bytes: do not trim, expand, format or convert them.",
    .perform =
        [](const Probe& probe) {
          std::string every_byte;
          for (int byte = 1; byte < 256; ++byte) every_byte += static_cast<char>(byte);
          round_trip(probe.session, variable, every_byte);
          for (const char* const value :
               {" text ", "text\n", "\r\n", "100%", "%s%n", "${NAME}", "$NAME", "a=b", "\"quoted\"", "\\"}) {
            round_trip(probe.session, variable, value);
          }
        },
    .after = "env/later-value-replaces",
};

constexpr Check names_are_exact{
    .name = "env/exact-names",
    .level = Level::must,
    .title = "Names that differ in case or length are different variables.",
    .promise = "Names are compared byte by byte.",
    .harm = "ECLIPSE_IDE and ECLIPSE_IDE_ENABLED, or USER_DEFINED_ECLIPSE_PATH and its two verdicts, overwrite each other.",
    .fix = "Compare whole names, with case.",
    .perform =
        [](const Probe& probe) {
          env_set_string(probe.session, "ECLIPSE_INT_CHECK_NAME", "text");
          for (const char* const other :
               {"eclipse_int_check_name", "ECLIPSE_INT_CHECK_NAM", "ECLIPSE_INT_CHECK_NAME_2", "ECLIPSE_INT_CHECK_NAME "}) {
            expect_text("env_get_string(" + shown(other) + ") after ECLIPSE_INT_CHECK_NAME was set", "",
                        env_get_string(probe.session, other),
                        {{"text", "names are compared ignoring case, by a prefix, or after trimming"}});
          }
        },
    .after = "env/unset-is-empty",
};

constexpr Check plugins_variables_can_be_written{
    .name = "env/results-can-be-written",
    .level = Level::must,
    .title = "The plug-in can set each variable that it sets in a run.",
    .promise = set_promise,
    .harm = "A result of the plug-in is dropped silently.",
    .fix = "Let the plug-in write every variable that it names.",
    .perform =
        [](const Probe& probe) {
          for (const char* const name : written) round_trip(probe.session, name, "a value of the plug-in");
        },
    .after = "env/later-value-replaces",
};

session_t* second_session(const Probe& probe) {
  if (probe.other_session == nullptr)
    throw Skipped{"give a second session: call an action with it, or set HostCheckOptions::other_session"};
  return probe.other_session;
}

constexpr Check sessions_are_apart{
    .name = "env/sessions-apart",
    .level = Level::must,
    .title = "Two sessions have their own variables.",
    .promise =
        "The plug-in has no state of its own, so several threads may call it at the same time, each with a session of "
        "its own, if the operations of the host allow it.",
    .harm = "The choice and the results of one run appear in the other.",
    .fix = "Keep the variables in the session, not in a global.",
    .perform =
        [](const Probe& probe) {
          session_t* const other = second_session(probe);
          env_set_string(probe.session, variable, "one");
          env_set_string(other, variable, "other");
          expect_text("env_get_string() after another session set the same variable", "one",
                      env_get_string(probe.session, variable), {{"other", "the variables are global"}});
        },
    .after = "env/later-value-replaces",
};

constexpr Check reference_is_expanded{
    .name = "expand/reference",
    .level = Level::must,
    .title = "A reference to a variable expands to its value.",
    .promise =
        "The host's expansion of an operand text that refers to session variables, such as \"${NAME}\"; empty if the "
        "variable is not set.",
    .harm = "The version of the user's Eclipse is not compared with the minimum.",
    .fix = "Replace \"${NAME}\" with the value of the variable.",
    .perform =
        [](const Probe& probe) {
          env_set_string(probe.session, "ECLIPSE_MIN_SUPPORTED_VERSION", "4.7");
          expect_text(
              "expand_operand(\"${ECLIPSE_MIN_SUPPORTED_VERSION}\")", "4.7",
              expand_operand(probe.session, "${ECLIPSE_MIN_SUPPORTED_VERSION}", true),
              {{"${ECLIPSE_MIN_SUPPORTED_VERSION}", "the text is returned as it is"}, {"", "the reference is not recognised"}});
        },
    .after = "env/later-value-replaces",
};

constexpr Check unset_reference_is_empty{
    .name = "expand/unset-is-empty",
    .level = Level::must,
    .title = "A reference to a variable that is not set expands to the empty text.",
    .promise =
        "The host's expansion of an operand text that refers to session variables, such as \"${NAME}\"; empty if the "
        "variable is not set.",
    .harm =
        "Without a minimum, every version is compared with the text \"${ECLIPSE_MIN_SUPPORTED_VERSION}\" and rejected or "
        "accepted by chance.",
    .fix = "Replace a reference to a variable that is not set with an empty text.",
    .perform =
        [](const Probe& probe) {
          expect_text("expand_operand() of a variable that nobody set", "",
                      expand_operand(probe.session, "${ECLIPSE_INT_CHECK_UNSET}", true),
                      {{"${ECLIPSE_INT_CHECK_UNSET}", "an unknown reference is left as it is"}});
        },
    .after = "env/unset-is-empty expand/reference",
};

constexpr Check text_around_is_kept{
    .name = "expand/text-around",
    .level = Level::may,
    .title = "Text around a reference is kept.",
    .promise =
        "The host's expansion of an operand text that refers to session variables, such as \"${NAME}\"; empty if the "
        "variable is not set.",
    .harm = "None today: the plug-in expands one reference at a time.",
    .fix = "Replace each reference within the text, and keep the rest.",
    .perform =
        [](const Probe& probe) {
          env_set_string(probe.session, variable, "value");
          expect_text("expand_operand(\"<${ECLIPSE_INT_CHECK}>\")", "<value>",
                      expand_operand(probe.session, "<${ECLIPSE_INT_CHECK}>", true),
                      {{"value", "only the reference is returned"}, {"", "only a text that is one reference is expanded"}});
        },
    .after = "expand/reference",
};

constexpr const char* capabilities = "KORU_YUM_CAPABILITY_PROVIDERS";
using CapabilityMap = std::map<std::string, Component*>;

void* shared_data(const Probe& probe, std::string name) { return session_get_cdata(probe.session, name.data()); }

const CapabilityMap& capability_map(const Probe& probe) {
  const void* const data = shared_data(probe, capabilities);
  if (data == nullptr) throw Skipped{"give the session a capability map before the first action is called"};
  return *static_cast<const CapabilityMap*>(data);
}

constexpr Check unknown_data_is_null{
    .name = "cdata/unknown-is-null",
    .level = Level::must,
    .title = "The data of an unknown name is null.",
    .promise = "The shared data object of that name, or null if the session has none, which is an ordinary answer.",
    .harm = "The plug-in reads another object as a capability map.",
    .fix = "Return null for a name that the session does not know.",
    .perform =
        [](const Probe& probe) {
          for (const char* const name : {"ECLIPSE_INT_CHECK_NO_DATA", "KORU_YUM_CAPABILITY_PROVIDER", ""}) {
            expect(shared_data(probe, name) == nullptr, "session_get_cdata(" + shown(name) + ") gives null", "a pointer",
                   "every name gets the same object");
          }
        },
};

constexpr Check data_is_one_object{
    .name = "cdata/same-object",
    .level = Level::must,
    .title = "The capability map is the same object each time.",
    .promise =
        "What a host returns by pointer still belongs to the host: the plug-in never frees it and keeps no pointer "
        "after the action returns.",
    .harm = "Each call leaks a map, or returns one that was freed.",
    .fix = "Return the address of the session's own map.",
    .perform =
        [](const Probe& probe) {
          const void* const first = &capability_map(probe);
          expect(first == shared_data(probe, capabilities), "session_get_cdata() gives the same object each time",
                 "two objects", "a copy is made for each call");
        },
    .after = "cdata/key-order",
};

constexpr Check data_name_is_not_written{
    .name = "cdata/name-not-written",
    .level = Level::must,
    .title = "The host does not write to the name that it is given.",
    .promise = "The host must not write to `name`.",
    .harm = "The next lookup asks for another name.",
    .fix = "Copy the name before you change it, for example with strtok() or to upper case.",
    .perform =
        [](const Probe& probe) {
          std::string name = capabilities;
          session_get_cdata(probe.session, name.data());
          expect_text("the name, after session_get_cdata()", capabilities, name);
        },
};

constexpr Check map_is_in_key_order{
    .name = "cdata/key-order",
    .level = Level::must,
    .title = "The capability map is a std::map with its keys in order.",
    .promise = map_promise,
    .harm = "The plug-in reads something else as a std::map: it crashes, loops, or finds nothing.",
    .fix = "Make it a std::map<std::string, Component*>, with the default comparison, and return its address as void*.",
    .perform =
        [](const Probe& probe) {
          const CapabilityMap& map = capability_map(probe);
          std::size_t count = 0;
          const std::string* previous = nullptr;
          for (const auto& [name, component] : map) {
            expect(previous == nullptr || *previous < name, "the names of the capabilities ascend",
                   previous == nullptr ? "" : shown(*previous) + " before " + shown(name),
                   "the map has a comparison other than std::less<std::string>, or is not a std::map");
            previous = &name;
            expect(++count <= map.size(), "the map has " + std::to_string(map.size()) + " entries", "more entries",
                   "it is not a std::map");
          }
          expect_equal("the number of entries", static_cast<long long>(map.size()), static_cast<long long>(count),
                       {{0, "it is not a std::map"}});
        },
    .if_it_ends = "it is not a std::map<std::string, Component*>, or was freed",
};

constexpr Check map_leads_to_the_catalogue{
    .name = "cdata/components-of-the-catalogue",
    .level = Level::should,
    .title = "The capability map names components of the catalogue.",
    .promise = map_promise,
    .harm = "The plug-in looks at components that the user never selects.",
    .fix = "Fill the map with the pointers that TSD::components() returns.",
    .perform =
        [](const Probe& probe) {
          const std::vector<Component*> known = probe.session->tsd.components();
          for (const auto& [name, component] : capability_map(probe)) {
            bool is_known = component == nullptr;
            for (const Component* const one : known) is_known = is_known || one == component;
            expect(is_known, "the component of " + shown(name) + " is one of TSD::components()", "a different one",
                   "the map has copies, or components of another session");
          }
        },
    .after = "cdata/key-order",
};

constexpr Check gui_mode_is_stable{
    .name = "is_gui_mode/stable",
    .level = Level::must,
    .title = "is_gui_mode() gives the same answer each time.",
    .promise = "True if the installer runs with a graphical interface.",
    .harm = "The summary has line feeds where the window expects \"<p>\", or the reverse.",
    .fix = "Return what was decided when the installer started.",
    .perform =
        [](const Probe& probe) {
          const bool first = is_gui_mode(probe.session);
          for (int i = 0; i < 3; ++i) expect_equal("is_gui_mode(), asked again,", first, is_gui_mode(probe.session));
        },
};

}  // namespace

std::vector<Check> session_checks() {
  return {unset_is_empty,           forms_write_one_variable, later_value_replaces,
          empty_value_is_kept,      texts_are_copied,         long_value_is_whole,
          bytes_are_kept,           names_are_exact,          plugins_variables_can_be_written,
          sessions_are_apart,       reference_is_expanded,    unset_reference_is_empty,
          text_around_is_kept,      unknown_data_is_null,     data_is_one_object,
          data_name_is_not_written, map_is_in_key_order,      map_leads_to_the_catalogue,
          gui_mode_is_stable};
}

}  // namespace host_kit
