#include "p2/xml.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace eclipse_p2;

namespace {

std::string error_of(const std::string& text) { return read_xml(text, "r").error; }

TEST(ReadXml, TakesReferencesThatXmlHas) {
  for (const std::string text : {"<r a='&amp;&lt;&gt;&quot;&apos;&#38;&#x26;&#xaF;'/>", "<!-- & --><r><![CDATA[ & ]]></r>",
                                 "<?pi & ?><r/>", "<!DOCTYPE r [<!ENTITY own 'x'>]><r>&own;</r>"}) {
    EXPECT_EQ(error_of(text), "") << text;
  }
}

TEST(ReadXml, RefusesALoneAmpersandAsJavaDoes) {
  const std::string error = "is not well-formed XML: write &amp; for the & in line 2";
  for (const std::string text :
       {"<r>\na & b</r>", "<r a='\n&'/>", "<r>\n&amp</r>", "<r>\n&;</r>", "<r>\n&#;</r>", "<r>\n&#x;</r>", "<r>\n&#1a;</r>",
        "<r>\n&nbsp;</r>", "<r>&amp;\n&</r>", "<!-- --><r>\n<!-- & -->&</r>"}) {
    EXPECT_EQ(error_of(text), error) << text;
  }
}

TEST(ReadXml, RefusesBytesThatAreNotOfItsEncodingAsJavaDoes) {
  const std::string error = "is not UTF-8 in line 2, although it says so or names no other encoding";
  for (const std::string declaration : {"<?xml version='1.0' encoding='UTF-8'?>", "<?xml version='1.0'?>", ""}) {
    EXPECT_EQ(error_of(declaration + "<r a='\nM\xFCller'/>"), error) << declaration;
    EXPECT_EQ(error_of(declaration + "<r a='\nM\xC3\xBCller'/>"), "") << declaration;
  }
  EXPECT_EQ(error_of("<?xml version='1.0' encoding='ISO-8859-1'?><r a='M\xFCller'/>"), "");
  EXPECT_EQ(error_of(std::string("\xFF\xFE<\0r\0/\0>\0", 10)), "");
}

}  // namespace
