// Which versions an update may replace.
#ifndef ECLIPSE_INT_UPDATE_WISHES_H
#define ECLIPSE_INT_UPDATE_WISHES_H

namespace eclipse_update {

struct Wishes {
  bool update = false;
  bool downgrade = false;  ///< also newer versions by lower ones
};

}  // namespace eclipse_update

#endif
