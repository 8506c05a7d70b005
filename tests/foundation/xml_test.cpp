#include "foundation/xml.h"

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace {

std::string Serialised(const LXMLElement& e) {
    std::string out;
    e.SaveToBufferNoFormatting(out);
    return out;
}

// Parses `text` and gives the tree written back on one line, and the error.
std::pair<std::string, std::string> Reparsed(const char* text) {
    LXMLDocument document;
    char error[LXMLDocument::kErrorSize];
    document.LoadFromBuffer(text, error);
    return {Serialised(document), error};
}

TEST(XmlTest, TextAndElementsKeepTheirOrder) {
    LXMLDocument document;
    char error[LXMLDocument::kErrorSize];
    document.LoadFromBuffer("<a>text<b/>more</a>", error);
    EXPECT_STREQ(error, "");
    const LXMLElement* a = document.GetElement("a");
    ASSERT_TRUE(a);
    ASSERT_EQ(a->GetChildCount(), 3u);
    EXPECT_STREQ(a->GetChildren()[0]->GetElementData(), "text");
    EXPECT_TRUE(a->GetChildren()[1]->IsNamed("b"));
    EXPECT_STREQ(a->GetChildren()[2]->GetElementData(), "more");
}

TEST(XmlTest, ReadsAsTheRulesSay) {
    struct Case {
        const char* in;
        const char* tree;
        const char* error;
    } cases[] = {
        {"<a>  padded\n </a>", "<a>padded</a>", ""},
        {"<a xml:space=\"default\">  kept </a>", "<a>  kept </a>", ""},
        {"<a x = \"1\" y='&lt;q&gt;' b=c>&quot;&apos;&nbsp;</a>",
         "<a b=\"c\" x=\"1\" y=\"&lt;q&gt;\">&quot;'&amp;</a>", ""},
        {"<a>&#233;&#xE9;&#489;&#321;</a>", "<a>\xE9\xE9\xE9" "A</a>", ""},
        {"<?xml version=\"1.0\"?><!-- c --><a/>", "<?xml version=\"1.0\"/><!--> c </!--><a/>", ""},
        {"<a></b>after", "<a/>after",
         "Ln 1, Col 8: Element <a> should be terminated with </a>, was with b. Check you have "
         "terminated your element properly."},
        {"<a>x\r\n\ry &amp", "<a>x\n\ny</a>",
         "Ln 3, Col 7: Strings starting with an ampersand (&) must end with a semicolon (;). "
         "Either replace the '&' with '&amp;' or add a ';' at the end of the control string."},
        {"<a><b></c><d", "<a><b/><d/></a>", "Ln 1, Col 11: Element <b> should be terminated with </b>, "
                                          "was with c. Check you have terminated your element properly."},
        {"<a>< b</a>", "<a/>b", "Ln 1, Col 6: Misplaced < without name. Use &lt; instead of < if appropriate."},
        {"</a>", "", "Ln 1, Col 5: Misplaced </a> which does not match a <a>."},
        {"<a x=\"1", "<a x=\"1\"/>", "Ln 1, Col 8: Tag <a> does not have a closing '>'"},
    };
    for (const Case& c : cases) {
        const auto [tree, error] = Reparsed(c.in);
        EXPECT_EQ(tree, c.tree) << c.in;
        EXPECT_EQ(error, c.error) << c.in;
    }
}

TEST(XmlTest, SerialisesAttributesInNameOrderAndEscapesOnlyFourCharacters) {
    LXMLElement svg("svg");
    svg.SetAttribute("width", "2");
    svg.SetAttribute("Z", "\"<&>\xC3\xA9'");
    svg.SetAttributeF("height", "%d", 3);
    svg.AddElement(new LXMLElement("g"));
    svg.AddElement(new LXMLElement(""));
    EXPECT_EQ(Serialised(svg), "<svg Z=\"&quot;&lt;&amp;&gt;\xC3\xA9'\" height=\"3\" width=\"2\"><g/></svg>");

    svg.SetAttributeF("long", "%0300d", 1);
    EXPECT_EQ(std::string(svg.GetAttribute("long")).size(), 259u);
}

TEST(XmlTest, AFileInUtf16OfEitherOrderReadsAsTheSameUtf8Text) {
    kvtest::TempDir dir;
    const std::string utf8 = "<a>\xC3\xA9\xF0\x9F\x98\x80</a>";
    const std::u16string units = u"<a>\u00E9\U0001F600</a>";
    for (bool little : {true, false}) {
        std::string bytes = little ? "\xFF\xFE" : "\xFE\xFF";
        for (char16_t u : units) {
            const char hi = static_cast<char>(u >> 8), lo = static_cast<char>(u & 0xFF);
            bytes += little ? std::string{lo, hi} : std::string{hi, lo};
        }
        ASSERT_TRUE(kvtest::WriteFile(dir.File("x.xml"), bytes));
        LXMLDocument document;
        char error[LXMLDocument::kErrorSize];
        ASSERT_EQ(document.LoadFromFile(nullptr, dir.File("x.xml").c_str(), error), LProcessResultOk);
        EXPECT_EQ(Serialised(document), utf8);
    }
    ASSERT_TRUE(kvtest::WriteFile(dir.File("bom.xml"), "\xEF\xBB\xBF" + utf8));
    std::string text;
    ASSERT_TRUE(LLoadTextAutoChar(dir.File("bom.xml").c_str(), text));
    EXPECT_EQ(text, utf8);

    LXMLDocument document;
    char error[LXMLDocument::kErrorSize];
    EXPECT_EQ(document.LoadFromFile(nullptr, dir.File("none.xml").c_str(), error), LProcessResultError);
    EXPECT_EQ(std::string(error), "File does not exist: " + dir.File("none.xml"));
}

TEST(XmlTest, FormattedOutputIndentsAndReadsBackAsTheSameTree) {
    const char* text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><list><item n=\"1\">one</item><empty/></list>";
    LXMLDocument document;
    char error[LXMLDocument::kErrorSize];
    document.LoadFromBuffer(text, error);
    std::string formatted;
    document.SaveToBuffer(formatted);
    EXPECT_EQ(formatted, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<list>\n\t<item n=\"1\">\n\t\tone\n"
                         "\t</item>\n\t<empty/>\n</list>\n");
    LXMLDocument again;
    again.LoadFromBuffer(formatted.c_str(), error);
    EXPECT_EQ(Serialised(again), Serialised(document));
    EXPECT_EQ(Serialised(LXMLDocument(again)), Serialised(document));
}

} // namespace
