// Which versions an update may replace.
#ifndef ECLIPSE_INT_UPDATE_UPDATE_OPTIONS_H
#define ECLIPSE_INT_UPDATE_UPDATE_OPTIONS_H

namespace eclipse_update {

struct UpdateOptions {
  bool update = false;
  bool downgrade = false;  ///< also newer versions by lower ones
};

}  // namespace eclipse_update

#endif
