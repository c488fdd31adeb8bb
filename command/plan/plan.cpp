#include "plan/plan.h"

#include <algorithm>

namespace eclipse_plan {

std::vector<const PlannedRecord*> Plan::by_slot() const {
  std::vector<const PlannedRecord*> placed;
  for (const PlannedRecord& record : records) {
    if (record.status != RecordStatus::no_repository) placed.push_back(&record);
  }
  std::stable_sort(placed.begin(), placed.end(), [](const auto* one, const auto* other) { return one->slot < other->slot; });
  return placed;
}

std::vector<const PlannedRecord*> Plan::features() const {
  std::vector<const PlannedRecord*> listed = by_slot();
  std::erase_if(listed, [](const PlannedRecord* record) { return record->status != RecordStatus::listed; });
  return listed;
}

std::vector<std::string> Plan::repository_urls() const {
  std::vector<std::string> urls(repositories.size());
  std::transform(repositories.begin(), repositories.end(), urls.begin(), eclipse_shell::as_word);
  return urls;
}

}  // namespace eclipse_plan
