#include "dry_run/log_lines.h"

#include <charconv>

namespace eclipse_dry_run::log_lines {

namespace {

/// The text between the beginning and the end of a line; nothing for a line that does not begin and end so.
std::optional<std::string_view> text_between(std::string_view before, std::string_view line, std::string_view after) {
  if (line.size() < before.size() + after.size() || !line.starts_with(before) || !line.ends_with(after)) return std::nullopt;
  line.remove_prefix(before.size());
  line.remove_suffix(after.size());
  return line;
}

std::optional<std::string> text_after(std::string_view before, std::string_view line) {
  const auto text = text_between(before, line, "");
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

}  // namespace

std::optional<std::string> found_executable(std::string_view line) {
  return text_after("eclipse_int: found eclipse executable: ", line);
}

std::optional<std::string> found_descriptor(std::string_view line) {
  return text_after("eclipse_int: found eclipse configuration: ", line);
}

std::optional<std::string> missing_descriptor(std::string_view line) {
  const auto path = text_between("eclipse_int: File ", line, " not found");
  return path ? std::optional<std::string>(*path) : std::nullopt;
}

std::optional<TakenRecord> taken_record(std::string_view line) {
  constexpr std::string_view separator = " Feature: ";
  const auto text = text_between("eclipse_int: Repository: ", line, "");
  const std::size_t at = text ? text->rfind(separator) : std::string_view::npos;
  if (at == std::string_view::npos) return std::nullopt;
  return TakenRecord{std::string(text->substr(0, at)), std::string(text->substr(at + separator.size()))};
}

std::optional<PlacedFeature> placed_feature(std::string_view line) {
  constexpr std::string_view separator = " feature: ";
  const auto text = text_between("eclipse_int: order: ", line, "");
  if (!text) return std::nullopt;
  PlacedFeature placed{0, ""};
  const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), placed.slot);
  const std::string_view rest = text->substr(static_cast<std::size_t>(end - text->data()));
  if (error != std::errc() || !rest.starts_with(separator)) return std::nullopt;
  placed.feature = rest.substr(separator.size());
  return placed;
}

}  // namespace eclipse_dry_run::log_lines
