// That a descriptor file is read once, as the plug-in reads it, and that one which cannot be read completely is recognised.
#include "dry_run/descriptor_files.h"
#include "base/limits.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <memory>

#include "dry_run/dry_run.h"
#include "dry_run/plugin_functions.h"
#include "fake_host/temporary_directory.h"

using namespace eclipse_dry_run;

namespace {

TEST(DescriptorContent, HasEveryByteOfAFile) {
  const fake::TemporaryDirectory directory;
  const std::string bytes = std::string("a\0\r\n", 4) + std::string(200'000, 'x');
  fake::write_file("file", bytes);
  const eclipse_base::FileContent content = descriptor_content("file");
  EXPECT_EQ(content.bytes, bytes);
  EXPECT_EQ(content.error, "");
}

TEST(DescriptorContent, SaysWhyAFileCannotBeRead) {
  const fake::TemporaryDirectory directory;
  std::filesystem::create_directory("directory");
  EXPECT_EQ(descriptor_content("missing").error, "cannot be read: No such file or directory");
  EXPECT_EQ(descriptor_content("directory").error, "is not a regular file");
  // Its first pages are not mapped.
  EXPECT_EQ(descriptor_content("/proc/self/mem").error, "cannot be read: Input/output error");
}

/// The files of the kernel have another size than content.
TEST(DescriptorContent, SaysThatTheSizeDiffers) {
  EXPECT_EQ(descriptor_content("/proc/version").error, "contains more than the 0 bytes that are its size");
  EXPECT_EQ(descriptor_content("/proc/version").bytes, "");
  const std::string shorter = "/sys/kernel/uevent_seqnum";
  if (!std::filesystem::exists(shorter)) GTEST_SKIP() << shorter << " does not exist";
  const eclipse_base::FileContent content = descriptor_content(shorter);
  EXPECT_EQ(content.error,
            "has a size of 4096 bytes, of which only " + std::to_string(content.bytes.find('\0')) + " can be read");
  EXPECT_EQ(content.bytes.size(), 4096U);  // as the plug-in, which fills the rest with zero bytes
}

TEST(DescriptorContent, IsNotReadFromAnEnormousFile) {
  const fake::TemporaryDirectory directory;
  fake::write_file("file", "s\tF\n");
  std::filesystem::resize_file("file", eclipse_base::largest::descriptor);
  EXPECT_EQ(descriptor_content("file").error, "");
  std::filesystem::resize_file("file", eclipse_base::largest::descriptor + 1);
  EXPECT_EQ(descriptor_content("file").error, "is larger than 64 MiB");
  std::filesystem::resize_file("file", std::uintmax_t{1} << 40);
  EXPECT_EQ(descriptor_content("file").error, "is larger than 64 MiB");
  EXPECT_EQ(descriptor_content("file").bytes, "");
}

TEST(DescriptorFiles, MayBeUnsaved) {
  const fake::TemporaryDirectory directory;
  fake::write_file("product/file", "saved");
  std::filesystem::create_directory_symlink("product", "link");
  DescriptorFiles files;
  files.set_unsaved(directory.path() + "/product/file", "edited");
  files.set_unsaved(directory.path() + "/product/new", "new");
  EXPECT_EQ(files.at("product/file").bytes, "edited");
  EXPECT_EQ(files.at("link/../product/./file").bytes, "edited");
  EXPECT_EQ(files.at("link/file").bytes, "edited");
  EXPECT_EQ(files.at("link/new").bytes, "new");
  EXPECT_TRUE(files.has_unsaved("link/new"));
  EXPECT_FALSE(files.has_unsaved("link/newer"));
  EXPECT_EQ(files.at("link/newer").error, "cannot be read: No such file or directory");
}

TEST(DescriptorFiles, OfAnyKindHaveTheSameLimit) {
  const fake::TemporaryDirectory directory;
  DescriptorFiles files;
  files.set_unsaved("smaller", std::string(eclipse_base::largest::descriptor, 'x'));
  EXPECT_EQ(files.at("smaller").error, "");
  files.set_unsaved("file", std::string(eclipse_base::largest::descriptor + 1, 'x'));
  EXPECT_EQ(files.at("file").error, "is larger than 64 MiB");
  EXPECT_TRUE(files.at("file").exceeds_limit);
  EXPECT_EQ(files.at("file").bytes, "");
}

TEST(DescriptorFiles, AreReadOnce) {
  const fake::TemporaryDirectory directory;
  DescriptorFiles files;
  fake::write_file("file", "before");
  EXPECT_EQ(files.at("file").bytes, "before");
  EXPECT_EQ(files.at("missing").error, "cannot be read: No such file or directory");
  fake::write_file("file", "after");
  fake::write_file("missing", "after");
  EXPECT_EQ(files.at("file").bytes, "before");
  EXPECT_EQ(files.at("missing").error, "cannot be read: No such file or directory");
}

TEST(DescriptorFiles, AreWhatADryRunReads) {
  const fake::TemporaryDirectory directory;
  const std::string file = directory.path() + "/tools/etc/eclipse/t";
  const eclipse_host::Plugin plugin(ECLIPSE_INT_LIBRARY);
  eclipse_host::Session session;
  auto& component = *session.components.emplace_back(std::make_unique<eclipse_host::CatalogueComponent>());
  component.code = "tools";
  component.installBase = directory.path();
  component.installDir = "tools";
  component.package.emplace().files = {"etc/eclipse/missing", "etc/eclipse/missing", "etc/eclipse/t", "etc/eclipse/t"};
  fake::write_file("ide/eclipse", "");
  session.variables = {{"KORU_MODE", "install"},
                       {"ECLIPSE_INTEGRATION_CHOICE", "user"},
                       {"ECLIPSE_BIN", "eclipse"},
                       {"USER_DEFINED_ECLIPSE_PATH", directory.path() + "/ide/eclipse"}};
  DescriptorFiles files;
  fake::write_file(file, "site\tF\n");
  ASSERT_EQ(files.at(file).error, "");
  fake::write_file(file, "other\tG\n");
  const DryRun run = perform_dry_run(plugin, session, files, std::set<std::size_t>{0});
  EXPECT_EQ(run.commands.at(0), directory.path() +
                                    "/ide/eclipse -nosplash -application org.eclipse.equinox.p2.director -repository file://" +
                                    directory.path() + "/tools/site -i F 2>&1");
  std::vector<std::string> paths;
  for (const ListedDescriptor& descriptor : run.components.at(0).descriptors) paths.push_back(descriptor.path);
  const std::string missing = directory.path() + "/tools/etc/eclipse/missing";
  EXPECT_EQ(paths, (std::vector<std::string>{missing, missing, file, file}));
}

}  // namespace
