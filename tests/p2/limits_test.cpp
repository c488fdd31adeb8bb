// What p2 wrote is read up to a limit, and not beyond it. Others are where the rest of their subject is.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "base/limits.h"
#include "base/packing.h"
#include "fake_host/temporary_directory.h"
#include "p2/artifact_file.h"
#include "p2/configuration_files.h"
#include "p2/director_failure.h"
#include "p2/profile.h"
#include "p2/repository.h"
#include "p2/signed_jar.h"
#include "p2/xml.h"

using namespace eclipse_p2;
using fake::write_file;
namespace fs = std::filesystem;
namespace largest = eclipse_base::largest;

namespace {

class Limits : public testing::Test {
  const fake::TemporaryDirectory directory_;
};

/// With zero bytes at its end, which take no room on the disk.
void write_of_size(const std::string& file, const std::string& beginning, std::size_t size) {
  write_file(file, beginning);
  fs::resize_file(file, size);
}

TEST_F(Limits, OfAStateOfAProfile) {
  write_of_size("1.profile", "<", largest::profile);
  EXPECT_EQ(read_profile_state("1.profile").error, "is not well-formed XML");
  EXPECT_TRUE(read_profile_state("1.profile").is_damaged);
  write_of_size("1.profile", "<", largest::profile + 1);
  EXPECT_EQ(read_profile_state("1.profile").error, "is larger than 256 MiB");
  EXPECT_FALSE(read_profile_state("1.profile").is_damaged);
}

TEST_F(Limits, OfAConfiguration) {
  write_of_size("ide/configuration/config.ini", "a=b\n", largest::configuration);
  EXPECT_EQ(configured_value("ide", "a"), "b");
  write_of_size("ide/configuration/config.ini", "a=b\n", largest::configuration + 1);
  EXPECT_EQ(configured_value("ide", "a"), std::nullopt);
}

TEST_F(Limits, OfAnIndex) {
  write_file("site/content.xml", "<repository><units/></repository>");
  write_of_size("site/p2.index", "", largest::configuration);
  EXPECT_EQ(Repositories().at("site").unexamined_because, "");
  write_of_size("site/p2.index", "", largest::configuration + 1);
  EXPECT_EQ(Repositories().at("site").unexamined_because, "p2.index is larger than 4 MiB");
}

TEST_F(Limits, OfAnArtifact) {
  const ArtifactFile artifact{"a.jar", "a.jar", {{eclipse_base::Digest::md5, "00"}}};
  write_of_size("a.jar", "", largest::artifact);
  EXPECT_EQ(checksum_error(artifact).substr(0, 33), "does not have the listed checksum");
  write_of_size("a.jar", "", largest::artifact + 1);
  EXPECT_EQ(checksum_error(artifact), "");
}

/// Of a larger log, the end is read.
TEST_F(Limits, OfALog) {
  const std::string first = "!MESSAGE first\n";
  const std::string last = "!MESSAGE last\n";
  const auto causes_with = [&](std::size_t size) {
    fs::create_directories("ide/configuration");
    fs::remove("ide/configuration/1.log");
    const InstanceLogs logs("ide");
    write_file("ide/configuration/1.log", first + std::string(size - first.size() - last.size(), '\n') + last);
    return explain({"", "", launcher_exit_code::application_failed}, logs).causes;
  };
  EXPECT_EQ(causes_with(largest::log), (std::vector<std::string>{"first", "last"}));
  EXPECT_EQ(causes_with(largest::log + 1), std::vector<std::string>{"last"});
}

TEST_F(Limits, OfTagsAndAttributes) {
  EXPECT_EQ(read_xml(std::string(largest::xml_items, '<'), "r").error, "is not well-formed XML");
  const Xml larger = read_xml(std::string(largest::xml_items + 1, '='), "r");
  EXPECT_EQ(larger.error, "has more than 8000000 tags and attributes");
  EXPECT_TRUE(larger.exceeds_limit);
}

}  // namespace
