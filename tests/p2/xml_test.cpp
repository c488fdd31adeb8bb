#include "p2/xml.h"

#include <gtest/gtest.h>

#include <algorithm>
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
  EXPECT_EQ(error_of("\xEF\xBB\xBF<?xml version='1.0' encoding='ISO-8859-1'?><r a='M\xFCller'/>"), "");
  EXPECT_EQ(error_of(std::string("\xFF\xFE<\0r\0/\0>\0", 10)), "");
}

std::string in_utf_16(const std::string& text) {
  std::string wide;
  for (const char byte : text) wide.append(1, byte).append(1, '\0');
  return wide;
}

TEST(ReadXml, RefusesAnotherEncodingThanTheOneThatIsNamedAsJavaDoes) {
  const std::string error = "is not in the encoding that its first line names";
  const auto document = [](const std::string& encoding) {
    return "<?xml version=\"1.0\" encoding=" + encoding + "?><r a='encoding=\"UTF-16\"'/>";
  };
  const std::string mark = "\xFF\xFE";
  for (const std::string encoding : {"'UTF-8'", "\"utf-8\"", "'ISO-8859-1'"}) {
    EXPECT_EQ(error_of(mark + in_utf_16(document(encoding))), error) << encoding;
    EXPECT_EQ(error_of(in_utf_16(document(encoding))), error) << encoding;
    EXPECT_EQ(error_of(document(encoding)), "") << encoding;
  }
  for (const std::string encoding : {"'UTF-16'", "'utf-16LE'", "'ISO-10646-UCS-2'"}) {
    EXPECT_EQ(error_of(mark + in_utf_16(document(encoding))), "") << encoding;
    EXPECT_EQ(error_of(document(encoding)), error) << encoding;
    EXPECT_EQ(error_of("\xEF\xBB\xBF" + document(encoding)), error) << encoding;
  }
  EXPECT_EQ(error_of(document("'UTF-32'")), error);
  EXPECT_EQ(error_of(document("''")), error) << "it names none that there is";
  for (const std::string encoding : {"'US-ASCII'", "'ascii'"}) {
    EXPECT_EQ(error_of(document(encoding)), "") << encoding;
    EXPECT_EQ(error_of(document(encoding) + "<!-- \xC3\xA9 -->"), error) << encoding;
  }
  EXPECT_EQ(error_of(in_utf_16("<?xml version='1.0'?><r/>")), "") << "it names none";
  EXPECT_EQ(error_of("\xEF\xBB\xBF" + document("'US-ASCII'")), "") << "the mark is no part of the text";
  EXPECT_EQ(error_of(in_utf_16(document("'utf16'"))), "");
  EXPECT_EQ(error_of("<!-- <?xml encoding='UTF-16'?> --><r/>"), "") << "it is no declaration";
}

TEST(ReadXml, RefusesUtf32WithAMarkAsJavaDoes) {
  for (const char* const declaration : {"", "<?xml version='1.0' encoding='UTF-32'?>"}) {
    std::string text("\xFF\xFE\0\0", 4);
    for (const char letter : std::string(declaration) + "<r/>") text += letter + std::string(3, '\0');
    EXPECT_EQ(error_of(text), "is not UTF-8 but UTF-32 with a byte-order mark, which Java does not read") << declaration;
    for (auto at = text.begin(); at != text.end(); at += 4) std::reverse(at, at + 4);
    EXPECT_EQ(error_of(text), "is not UTF-8 but UTF-32 with a byte-order mark, which Java does not read") << declaration;
  }
}

}  // namespace
