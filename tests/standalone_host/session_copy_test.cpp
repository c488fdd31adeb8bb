#include "standalone_host/session_copy.h"

#include <gtest/gtest.h>

using eclipse_host::CatalogueComponent;
using eclipse_host::Session;

TEST(SessionCopy, HasNothingInCommonWithTheFirstOne) {
  Session session;
  session.variables["NAME"] = "value";
  session.graphical = true;
  session.components.push_back(std::make_unique<CatalogueComponent>());
  session.components.push_back(nullptr);
  session.components.front()->code = "tools";
  Component* const foreign = nullptr;
  session.capabilities = {{"TOOLS", session.components.front().get()}, {"FOREIGN", foreign}};
  const auto copy = copy_of(session);
  session.variables["NAME"] = "other";
  session.components.front()->code = "other";
  EXPECT_EQ(copy->variables, (std::map<std::string, std::string>{{"NAME", "value"}}));
  EXPECT_TRUE(copy->graphical);
  ASSERT_EQ(copy->components.size(), 2U);
  EXPECT_EQ(copy->components.front()->code, "tools");
  EXPECT_EQ(copy->components.back(), nullptr);
  ASSERT_TRUE(copy->capabilities);
  for (const auto& [name, component] : *copy->capabilities) {
    EXPECT_EQ(component, name == "TOOLS" ? copy->components.front().get() : nullptr) << name;
  }
}

TEST(SessionCopy, HasNoCapabilitiesIfTheSessionHasNone) {
  Session session;
  session.capabilities.reset();
  EXPECT_FALSE(copy_of(session)->capabilities);
}
