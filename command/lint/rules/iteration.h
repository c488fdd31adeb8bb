// The files, lines, records and columns that a rule looks at.
#ifndef ECLIPSE_INT_LINT_RULES_ITERATION_H
#define ECLIPSE_INT_LINT_RULES_ITERATION_H

#include "lint/input.h"
#include "lint/rules/header_lines.h"
#include "lint/texts.h"

namespace eclipse_lint {

/// Descriptor files that have lines.
template <typename Use>
void for_each_text(const Input& input, const Use& use) {
  for (const Descriptor& descriptor : input.descriptors) {
    if (descriptor.is_text) use(descriptor);
  }
}

/// Lines that the plug-in ignores.
template <typename Use>
void for_each_dropped(const Input& input, const Use& use) {
  for_each_text(input, [&](const Descriptor& descriptor) {
    for (const Line& line : descriptor.lines) {
      if (!line.is_record) use(descriptor, line);
    }
  });
}

/// Records that are not passed over.
template <typename Use>
void for_each_placed(const Input& input, const Use& use) {
  for (const Record& record : input.records) {
    if (record.placement) use(record);
  }
}

/// Records whose repository is a plain path, so that a mistake in its text is not reported as one on disk.
template <typename Use>
void for_each_looked_into(const Input& input, const Use& use) {
  for (const Record& record : input.records) {
    if (record.site != nullptr && is_plain_repository(record)) use(record);
  }
}

/// The columns that become part of a director command, which gets no repositories when features are removed.
template <typename Use>
void for_each_used_column(const Input& input, const Use& use) {
  for (const Record& record : input.records) {
    if (!record.placement || is_odd_header(record)) continue;
    if (!input.is_removal()) use(record, 0);
    use(record, 1);
  }
}

}  // namespace eclipse_lint

#endif
