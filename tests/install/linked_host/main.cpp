#include <cstdio>

#include "eclipse_int/eclipse_int.h"

int main() {
  session_t session;
  for (const std::string& column : split_by_tabs("site\tfeature")) std::printf("%s\n", column.c_str());
  return perform_unintegration(&session);
}
