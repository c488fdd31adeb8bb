// What differs between two states of an instance.
#ifndef ECLIPSE_INT_P2_UNIT_CHANGE_H
#define ECLIPSE_INT_P2_UNIT_CHANGE_H

#include <cstddef>
#include <string>
#include <vector>

#include "p2/installed_units.h"
#include "p2/unit.h"

namespace eclipse_p2 {

struct UnitChange {
  std::vector<Unit> installed;
  std::vector<Unit> removed;
  std::vector<Unit> now_by_name;        ///< were there before, along with other units
  std::vector<Unit> no_longer_by_name;  ///< and still there, since other units require them
  std::size_t others_installed = 0;     ///< units that came along with others; 0 when not all units of both states are known
  std::size_t others_removed = 0;

  bool is_empty() const;
};

UnitChange change_between(const InstalledUnits& before, const InstalledUnits& after);

/// In one line, such as "+ a/2.0.0, - a/1.0.0, 3 other units"; of many units, the first ones and how many more there are.
std::string text_of(const UnitChange& change);

}  // namespace eclipse_p2

#endif
