// Rules about the order column (column 4).
#include <algorithm>
#include <cctype>
#include <map>
#include <set>

#include "base/printable.h"
#include "dry_run/descriptor_lines.h"
#include "lint/rule.h"
#include "lint/rules/samples.h"
#include "lint/texts.h"

using namespace eclipse_base;
using namespace eclipse_dry_run;
using namespace eclipse_lint::samples;

namespace eclipse_lint {

namespace {

constexpr std::size_t order_column = 3;

Sample good_order() {
  return descriptor("sites/alpha\torg.example.alpha.feature.group\nsites/alpha\torg.example.beta.feature.group\t\t1\n");
}

std::string_view order_of(const Record& record) { return record.has_order() ? record.cell(order_column) : undefined_order; }

/// How much of an order is a number.
enum class Numeric { no, all, beginning };

Numeric numeric_part_of(std::string_view order) {
  std::string_view digits = trimmed(order);
  if (digits.starts_with('-') || digits.starts_with('+')) digits.remove_prefix(1);
  const auto is_digit = [](char byte) { return std::isdigit(static_cast<unsigned char>(byte)) != 0; };
  if (digits.empty() || !is_digit(digits.front())) return Numeric::no;
  return std::all_of(digits.begin(), digits.end(), is_digit) ? Numeric::all : Numeric::beginning;
}

/// The records whose lines give an order.
template <typename Use>
void for_each_order(const Input& input, const Use& use) {
  for (const Record& record : input.records) {
    const std::string_view order = order_of(record);
    if (record.placement && order != undefined_order && !order.empty()) use(record, order);
  }
}

/// The number that the plug-in reads from a record's order.
std::int64_t number_of(const Input& input, const Record& record) { return input.library->order(record.config->order); }

std::string is_read_as(std::string_view order, std::int64_t number) {
  return "order " + in_quotes(order) + " is read as " + std::to_string(number);
}

Rule order_not_a_number() {
  return {
      .name = "order-not-a-number",
      .group = Group::orders,
      .severity = Severity::warning,
      .title = "an order is not a number",
      .why =
          "The order is read as 0, which has the same effect as no order. To say that a line has no order, leave the "
          "column out or write \"undefined\" (case-sensitive).",
      .fix = "write a whole number, or leave the column out",
      .bad = descriptor("sites/alpha\torg.example.alpha.feature.group\t\tfirst\n"),
      .good = good_order(),
      .check =
          [](const Input& input, Reporter& reporter) {
            for_each_order(input, [&](const Record& record, std::string_view order) {
              if (numeric_part_of(order) != Numeric::no) return;
              const std::string read = std::to_string(number_of(input, record));
              reporter.report(record.location(order_column),
                              "order " + in_quotes(order) + " is not a number and is read as " + read);
            });
          },
  };
}

Rule order_trailing_characters() {
  return {
      .name = "order-trailing-characters",
      .group = Group::orders,
      .severity = Severity::warning,
      .title = "the number of an order is followed by other characters",
      .why = "The number is read up to the first character that is not a digit; the rest is ignored.",
      .fix = "write a whole number",
      .bad = descriptor("sites/alpha\torg.example.alpha.feature.group\t\t5.9\n"),
      .good = good_order(),
      .check =
          [](const Input& input, Reporter& reporter) {
            for_each_order(input, [&](const Record& record, std::string_view order) {
              if (numeric_part_of(order) != Numeric::beginning) return;
              reporter.report(record.location(order_column), is_read_as(order, number_of(input, record)));
            });
          },
  };
}

/// Whether the number that is read differs from the digits that are written.
bool is_out_of_range(std::string_view order, std::int64_t read) {
  std::string digits(trimmed(order));
  const bool negative = digits.front() == '-';
  digits.erase(0, std::min(digits.find_first_of("123456789"), digits.size()));
  return !digits.empty() && std::to_string(read) != (negative ? "-" : "") + digits;
}

Rule order_out_of_range() {
  return {
      .name = "order-out-of-range",
      .group = Group::orders,
      .severity = Severity::error,
      .title = "an order does not fit into 32 bits",
      .why =
          "The order is read as the nearest limit, 2147483647 or -2147483648. The places of two lines whose orders are at "
          "the upper limit are undefined.",
      .fix = "write a smaller number",
      .bad = descriptor("sites/alpha\torg.example.alpha.feature.group\t\t99999999999\n"),
      .good = good_order(),
      .check =
          [](const Input& input, Reporter& reporter) {
            for_each_order(input, [&](const Record& record, std::string_view order) {
              if (order.size() < 10 || numeric_part_of(order) != Numeric::all) return;
              const std::int64_t number = number_of(input, record);
              if (!is_out_of_range(order, number)) return;
              reporter.report(record.location(order_column),
                              "order " + in_quotes(order) + " is out of range and is read as " + std::to_string(number));
            });
          },
  };
}

Rule order_taken() {
  return {
      .name = "order-taken",
      .group = Group::orders,
      .severity = Severity::note,
      .title = "an order is already taken",
      .why = "The later line gets the next free number, which may in turn move the line after it.",
      .fix = "give each line its own number, and leave gaps: lines without an order take 0, 1, 2 and so on",
      .bad =
          descriptor("sites/alpha\torg.example.alpha.feature.group\t\t1\nsites/alpha\torg.example.beta.feature.group\t\t1\n"),
      .good = good_order(),
      .check =
          [](const Input& input, Reporter& reporter) {
            std::map<std::pair<bool, std::int64_t>, const Record*> by_slot;
            for (const Record& record : input.records) {
              if (record.placement) by_slot.emplace(std::pair(record.takes_part(), record.placement->slot), &record);
            }
            for_each_order(input, [&](const Record& record, std::string_view order) {
              // Asked first, since it is cheap and nearly always so: who got the number that is written there was not moved.
              if (order == std::to_string(record.placement->slot) || numeric_part_of(order) != Numeric::all) return;
              const std::int64_t wanted = number_of(input, record);
              const auto taker = by_slot.find({record.takes_part(), wanted});
              if (record.placement->slot == wanted || wanted == 0) return;
              std::string message = "order " + std::to_string(wanted) + " is already taken";
              if (taker != by_slot.end()) message += " by " + taker->second->where();
              reporter.report(record.location(order_column),
                              message + "; this line gets " + std::to_string(record.placement->slot));
            });
          },
  };
}

Rule order_not_positive() {
  return {
      .name = "order-not-positive",
      .group = Group::orders,
      .severity = Severity::note,
      .title = "an order is zero or negative",
      .why = "0 has the same effect as no order. Lines with a negative order come before the lines without an order.",
      .fix = "leave 0 out; to place a line after those without an order, number from 1",
      .bad = descriptor("sites/alpha\torg.example.alpha.feature.group\t\t0\n"),
      .good = good_order(),
      .check =
          [](const Input& input, Reporter& reporter) {
            for_each_order(input, [&](const Record& record, std::string_view order) {
              const std::string_view number = trimmed(order);
              if (numeric_part_of(order) != Numeric::all) return;
              if (number.find_first_of("123456789") == number.npos) {
                reporter.report(record.location(order_column), "order 0 has the same effect as no order");
              } else if (number.starts_with('-')) {
                reporter.report(record.location(order_column),
                                "order " + std::string(number) + " places the line before the lines without an order");
              }
            });
          },
  };
}

using FirstByFeature = std::map<std::pair<bool, std::string_view>, const Record*>;

/// Of the records of each feature, the one that comes first in the install order: of the run, and of what it leaves out.
FirstByFeature first_by_feature(const Input& input) {
  FirstByFeature first;
  for (const Record& record : input.records) {
    if (!record.placement || record.feature().empty()) continue;
    const Record*& known = first.emplace(std::pair(record.takes_part(), record.feature()), &record).first->second;
    if (record.placement->slot < known->placement->slot) known = &record;
  }
  return first;
}

Rule feature_order_conflict() {
  return {
      .name = "feature-order-conflict",
      .group = Group::orders,
      .severity = Severity::warning,
      .title = "a feature has several orders",
      .why = "Only the lowest order has an effect. The others are logged and take up places.",
      .fix = "list the feature once",
      .bad =
          descriptor("sites/alpha\torg.example.alpha.feature.group\t\t7\nsites/alpha\torg.example.alpha.feature.group\t\t3\n"),
      .good = good_order(),
      .check =
          [](const Input& input, Reporter& reporter) {
            const auto first = first_by_feature(input);
            for_each_order(input, [&](const Record& record, std::string_view order) {
              if (record.feature().empty()) return;
              const Record& other = *first.at({record.takes_part(), record.feature()});
              if (&other == &record || order_of(other) == order) return;
              reporter.report(record.location(order_column), "order " + std::string(order) + " is ignored: " + other.where() +
                                                                 " lists " + in_quotes(record.feature()) +
                                                                 " with a lower order");
            });
          },
  };
}

Rule order_as_dependency() {
  return {
      .name = "order-as-dependency",
      .group = Group::orders,
      .severity = Severity::note,
      .title = "a file gives several orders",
      .why =
          "The director resolves all features in one plan, so the order has no effect while that succeeds. It matters only "
          "when the director is run for each feature separately.",
      .fix = "declare what a feature requires in the feature itself; an order does not express a dependency",
      .bad =
          descriptor("sites/alpha\torg.example.alpha.feature.group\t\t1\nsites/alpha\torg.example.beta.feature.group\t\t2\n"),
      .good = good_order(),
      .check =
          [](const Input& input, Reporter& reporter) {
            std::map<const Descriptor*, std::set<std::string_view>> orders;
            for_each_order(input, [&](const Record& record, std::string_view order) {
              if (numeric_part_of(order) != Numeric::all || !orders[record.descriptor].insert(order).second) return;
              if (orders[record.descriptor].size() != 2) return;
              reporter.report(record.location(order_column), "the file gives several orders");
            });
          },
  };
}

}  // namespace

std::vector<Rule> orders_rules() {
  return {
      order_not_a_number(), order_trailing_characters(), order_out_of_range(),  order_taken(),
      order_not_positive(), feature_order_conflict(),    order_as_dependency(),
  };
}

}  // namespace eclipse_lint
