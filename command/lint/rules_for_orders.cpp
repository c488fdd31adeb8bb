// Rules about the fourth column.
#include <algorithm>
#include <cctype>
#include <map>
#include <set>

#include "base/json_document.h"
#include "lint/rule.h"
#include "lint/texts.h"

using eclipse_base::in_quotes;

namespace eclipse_lint {

namespace {

constexpr std::size_t order_column = 3;
constexpr std::string_view undefined = "undefined";

/// A descriptor file by itself.
Sample lines(const std::string& content) { return {"tools.txt", {{"tools.txt", content}}}; }

Sample good_lines() {
  return lines("sites/alpha\torg.example.alpha.feature.group\nsites/alpha\torg.example.beta.feature.group\t\t1\n");
}

std::string_view order_of(const Record& record) { return record.has_order() ? record.cell(order_column) : undefined; }

/// How much of an order is a number.
enum class Reading { none, whole, beginning };

Reading reading_of(std::string_view order) {
  std::string_view digits = without_spaces(order);
  if (digits.starts_with('-') || digits.starts_with('+')) digits.remove_prefix(1);
  const auto is_digit = [](char byte) { return std::isdigit(static_cast<unsigned char>(byte)) != 0; };
  if (digits.empty() || !is_digit(digits.front())) return Reading::none;
  return std::all_of(digits.begin(), digits.end(), is_digit) ? Reading::whole : Reading::beginning;
}

/// Those whose line gives an order.
template <typename Use>
void for_each_order(const Input& input, const Use& use) {
  for (const Record& record : input.records) {
    const std::string_view order = order_of(record);
    if (record.placement && order != undefined && !order.empty()) use(record, order);
  }
}

std::int64_t number_of(const Input& input, const Record& record) { return input.library->order(record.config->order); }

void check_number(const Input& input, Reporter& reporter) {
  for_each_order(input, [&](const Record& record, std::string_view order) {
    if (reading_of(order) != Reading::none) return;
    reporter.report(record.location(order_column),
                    in_quotes(order) + " is no number: it is read as " + std::to_string(number_of(input, record)));
  });
}

void check_tail(const Input& input, Reporter& reporter) {
  for_each_order(input, [&](const Record& record, std::string_view order) {
    if (reading_of(order) != Reading::beginning) return;
    reporter.report(record.location(order_column),
                    in_quotes(order) + " is read as " + std::to_string(number_of(input, record)));
  });
}

/// A number is out of range when what is read is not what is written.
void check_range(const Input& input, Reporter& reporter) {
  for_each_order(input, [&](const Record& record, std::string_view order) {
    if (order.size() < 10 || reading_of(order) != Reading::whole) return;
    std::string digits(without_spaces(order));
    const bool negative = digits.front() == '-';
    digits.erase(0, std::min(digits.find_first_of("123456789"), digits.size()));
    const std::string read = std::to_string(number_of(input, record));
    if (digits.empty() || read == (negative ? "-" : "") + digits) return;
    reporter.report(record.location(order_column), in_quotes(order) + " is out of range: it is read as " + read);
  });
}

void check_zero(const Input& input, Reporter& reporter) {
  for_each_order(input, [&](const Record& record, std::string_view order) {
    const std::string_view number = without_spaces(order);
    if (reading_of(order) != Reading::whole) return;
    if (number.find_first_of("123456789") == number.npos) {
      reporter.report(record.location(order_column), "0 is the same as no order");
    } else if (number.starts_with('-')) {
      reporter.report(record.location(order_column), std::string(number) + " comes before the features without an order");
    }
  });
}

void check_taken(const Input& input, Reporter& reporter) {
  std::map<std::int64_t, const Record*> by_slot;
  for (const Record& record : input.records) {
    if (record.placement) by_slot.emplace(record.placement->slot, &record);
  }
  for_each_order(input, [&](const Record& record, std::string_view order) {
    // Asked first, since it is cheap and nearly always so: who got the number that is written there was not moved.
    if (order == std::to_string(record.placement->slot) || reading_of(order) != Reading::whole) return;
    const std::int64_t wanted = number_of(input, record);
    const auto taker = by_slot.find(wanted);
    if (record.placement->slot == wanted || wanted == 0) return;
    std::string message = "the order " + std::to_string(wanted) + " is taken";
    if (taker != by_slot.end()) message += " by " + taker->second->where();
    reporter.report(record.location(order_column), message + ": this line gets " + std::to_string(record.placement->slot));
  });
}

void check_two_orders(const Input& input, Reporter& reporter) {
  std::map<std::string_view, const Record*> lowest;
  for (const Record& record : input.records) {
    if (!record.placement || record.feature().empty()) continue;
    const Record*& known = lowest.emplace(record.feature(), &record).first->second;
    if (record.placement->slot < known->placement->slot) known = &record;
  }
  for_each_order(input, [&](const Record& record, std::string_view order) {
    if (record.feature().empty()) return;
    const Record& other = *lowest.at(record.feature());
    if (&other == &record || order_of(other) == order) return;
    reporter.report(record.location(order_column), "the order " + std::string(order) + " is ignored: " + other.where() +
                                                       " has " + in_quotes(record.feature()) + " with a lower one");
  });
}

void check_dependency(const Input& input, Reporter& reporter) {
  std::map<const Descriptor*, std::set<std::string_view>> orders;
  for_each_order(input, [&](const Record& record, std::string_view order) {
    if (reading_of(order) != Reading::whole || !orders[record.descriptor].insert(order).second) return;
    if (orders[record.descriptor].size() != 2) return;
    reporter.report(record.location(order_column), "several orders are given in this file");
  });
}

}  // namespace

std::vector<Rule> rules_for_orders() {
  return {
      {.name = "order-not-a-number",
       .group = Group::orders,
       .severity = Severity::warning,
       .title = "an order is no number",
       .why = "It is read as 0, which is the same as no order. Only \"undefined\", in just these letters, is meant for that.",
       .fix = "write a whole number, or leave the column out",
       .bad = lines("sites/alpha\torg.example.alpha.feature.group\t\tfirst\n"),
       .good = good_lines(),
       .check = check_number},
      {.name = "order-with-tail",
       .group = Group::orders,
       .severity = Severity::warning,
       .title = "something stands behind the number of an order",
       .why = "The number is read up to the first character that is no digit.",
       .fix = "write a whole number",
       .bad = lines("sites/alpha\torg.example.alpha.feature.group\t\t5.9\n"),
       .good = good_lines(),
       .check = check_tail},
      {.name = "order-out-of-range",
       .group = Group::orders,
       .severity = Severity::error,
       .title = "an order has more than 32 bits",
       .why =
           "It is read as the nearest limit, 2147483647 or -2147483648. Two orders at the upper limit have no settled places.",
       .fix = "write a smaller number",
       .bad = lines("sites/alpha\torg.example.alpha.feature.group\t\t99999999999\n"),
       .good = good_lines(),
       .check = check_range},
      {.name = "order-taken",
       .group = Group::orders,
       .severity = Severity::note,
       .title = "an order is taken already",
       .why = "The line that comes later gets the next free number, and may push the next line on in its turn.",
       .fix = "give each line its own number; leave gaps, since lines without an order take 0, 1, 2 and so on",
       .bad = lines("sites/alpha\torg.example.alpha.feature.group\t\t1\nsites/alpha\torg.example.beta.feature.group\t\t1\n"),
       .good = good_lines(),
       .check = check_taken},
      {.name = "order-zero-or-negative",
       .group = Group::orders,
       .severity = Severity::note,
       .title = "an order is 0 or negative",
       .why = "0 is the same as no order. Negative ones come before the lines without an order.",
       .fix = "leave 0 out; number from 1 if the line should come behind those without an order",
       .bad = lines("sites/alpha\torg.example.alpha.feature.group\t\t0\n"),
       .good = good_lines(),
       .check = check_zero},
      {.name = "feature-with-two-orders",
       .group = Group::orders,
       .severity = Severity::warning,
       .title = "a feature is given two orders",
       .why = "The lowest place counts. The others are logged, and take places, but have no effect.",
       .fix = "list the feature once",
       .bad = lines("sites/alpha\torg.example.alpha.feature.group\t\t7\nsites/alpha\torg.example.alpha.feature.group\t\t3\n"),
       .good = good_lines(),
       .check = check_two_orders},
      {.name = "order-as-dependency",
       .group = Group::orders,
       .severity = Severity::note,
       .title = "a file gives several orders",
       .why = "The director solves one plan for all features at once, so the order changes nothing while that succeeds. It "
              "only matters when each feature is tried alone.",
       .fix = "say in the feature itself what it requires; the order does not express dependency",
       .bad = lines("sites/alpha\torg.example.alpha.feature.group\t\t1\nsites/alpha\torg.example.beta.feature.group\t\t2\n"),
       .good = good_lines(),
       .check = check_dependency},
  };
}

}  // namespace eclipse_lint
