#include "ToolSupport.h"

namespace orvex::test {
namespace {

class BadInput : public ToolTest {};

TEST_F(BadInput, FilesThatAreNoImages) {
    write("text.jpg", "This is a text, whatever its name says.\n");
    write("empty.jpg", "");
    write("half.jpg", "\xff\xd8\xff");
    write("zeros.png", std::string(1000, '\0'));
    write("page.jpg", "%PDF-1.4\n%\xe2\xe3\n");
    for (const auto* name : {"text.jpg", "empty.jpg", "half.jpg", "zeros.png", "page.jpg"}) {
        expectRefusal(std::string("orvexpdf make ") + name + " -o out.pdf", unusable, {name});
    }
    expectRefusal("orvexpdf make - -o out.pdf </dev/null", unusable, {"standard input"});
}

TEST_F(BadInput, TruncatedImagesAnywhere) {
    copySample("2-letter.jpg", "good.jpg");
    copySample("3-price-list.png", "good.png");
    for (const std::string kind : {"jpg", "png"}) {
        const auto whole = read("good." + kind);
        for (const std::size_t kept : {std::size_t{20}, std::size_t{300}, whole.size() / 2, whole.size() - 20}) {
            write("cut." + kind, whole.slice(0, kept));
            for (const std::string squeeze : {"", " --squeeze medium"}) {
                expectRefusal("orvexpdf make good." + kind + " cut." + kind + " -o out.pdf" + squeeze, unusable,
                              {"cut." + kind});
            }
        }
    }
}

TEST_F(BadInput, ImagesWithGarbageInsideDoNotCrash) {
    copySample("2-letter.jpg", "good.jpg");
    copySample("3-price-list.png", "good.png");
    for (const std::string kind : {"jpg", "png"}) {
        std::string damaged(read("good." + kind).text());
        for (std::size_t at = damaged.size() / 3; at < damaged.size() / 3 + 2000; ++at) {
            damaged[at] = static_cast<char>(at * 7);
        }
        write("bad." + kind, damaged);
        for (const std::string squeeze : {"", " --squeeze medium"}) {
            const auto result = tool("make bad." + kind + " -o out.pdf" + squeeze);
            EXPECT_TRUE(result.exitCode == done || result.exitCode == unusable) << result.exitCode << result.errors;
        }
    }
}

TEST_F(BadInput, ImagesThatBreakOnlyWhenTheyAreDecodedAreNamed) {
    oracle("printf '%%!\\n1 1 3 { 9 mul 72 exch 300 300 rectfill showpage } for' | "
           "gs -q -sDEVICE=tiff24nc -sCompression=lzw -r72 -g612x792 -o good.tiff -");
    std::string damaged(read("good.tiff").text());
    const auto page = damaged.size() / 3;
    for (std::size_t at = page + page / 3; at < page + page / 2; ++at) {
        damaged[at] = static_cast<char>(0xff);
    }
    write("bad.tiff", damaged);
    for (const std::string squeeze : {"", " --squeeze strong"}) {
        expectRefusal("orvexpdf make good.tiff bad.tiff -o out.pdf" + squeeze, unusable, {"bad.tiff (page 2)"});
    }
}

TEST_F(BadInput, MissingAndUnreadableFiles) {
    copySample("2-letter.jpg", "a.jpg");
    oracle("mkdir folder");
    expectRefusal("orvexpdf make none.jpg -o out.pdf", unreadable, {"none.jpg", "No such file"});
    expectRefusal("orvexpdf make a.jpg none.jpg -o out.pdf", unreadable, {"none.jpg"});
    expectRefusal("orvexpdf make folder -o out.pdf", unreadable, {"folder", "directory"});
    expectRefusal("orvexpdf make a.jpg --squeeze strongest -o out.pdf", unreadable, {"strongest"});
    expectRefusal("orvexpdf info none.pdf", unreadable, {"none.pdf", "No such file"});
    expectRefusal("orvexpdf info folder", unreadable, {"folder"});
}

TEST_F(BadInput, FileNamesOnOneLine) {
    expectRefusal("orvexpdf make \"$(printf 'a\\nb\\033c').jpg\" -o out.pdf", unreadable, {"No such file"});
}

TEST_F(BadInput, Presets) {
    copySample("2-letter.jpg", "a.jpg");
    write("text.json", "strong");
    write("missing.json", R"({"id":"x","title":"x","dpi":100})");
    write("type.json", R"({"id":"x","title":"x","dpi":"100","quality":40,"colors":"colors","method":"best"})");
    write("zero.json", R"({"id":"x","title":"x","dpi":0,"quality":40,"colors":"colors","method":"best"})");
    write("fine.json",
          R"({"id":"x","title":"x","dpi":9223372036854775807,"quality":40,"colors":"colors","method":"best"})");
    write("much.json", R"({"id":"x","title":"x","dpi":72,"quality":400,"colors":"colors","method":"best"})");
    for (const std::string name : {"text.json", "missing.json", "type.json", "zero.json", "fine.json", "much.json"}) {
        expectRefusal("orvexpdf make a.jpg -o out.pdf --squeeze " + name, unusable, {name, "preset"});
    }
}

TEST_F(BadInput, OutputsThatCannotBeWritten) {
    copySample("2-letter.jpg", "a.jpg");
    oracle("mkdir folder");
    expectRefusal("orvexpdf make a.jpg -o none/out.pdf", notWritten, {"none/out.pdf", "No such file"});
    expectRefusal("orvexpdf make a.jpg -o folder", notWritten, {"folder", "directory"});
    expectRefusal("orvexpdf make a.jpg -o a.jpg/out.pdf", notWritten, {"a.jpg/out.pdf"});
    expectRefusal("orvexpdf make a.jpg -o /dev/full", notWritten, {"/dev/full", "No space left"});
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
}

TEST_F(BadInput, AFolderThatOneMayNotWrite) {
    copySample("2-letter.jpg", "a.jpg");
    oracle("mkdir folder && chmod 555 folder && chmod 755 . && chmod 644 a.jpg");
    const auto command = std::string("orvexpdf make a.jpg -o folder/out.pdf");
    if (::geteuid() != 0) {
        expectRefusal(command, notWritten, {"folder/out.pdf", "Permission denied"});
        return;
    }
    // Nobody refuses root; somebody else has to try.
    const auto asNobody = "setpriv --reuid=65534 --regid=65534 --clear-groups " + quoted(toolPath) + " ";
    if (shell(asNobody + "--version").exitCode != 0) {
        GTEST_SKIP() << "the tool cannot be run as another user from here";
    }
    expectRefusal(asNobody + "make a.jpg -o folder/out.pdf", notWritten, {"folder/out.pdf", "Permission denied"});
    EXPECT_TRUE(std::filesystem::is_empty(path("folder")));
}

TEST_F(BadInput, ADiskThatFillsUpLeavesTheOldFile) {
    copySample("1-article.jpg", "a.jpg");
    write("out.pdf", "the older one");
    expectRefusal("ulimit -f 100; orvexpdf make a.jpg -o out.pdf", notWritten, {"out.pdf", "File too large"});
    EXPECT_EQ(read("out.pdf").text(), "the older one");
    oracle("mkdir disk");
    if (shell("mount -t tmpfs -o size=100k tmpfs disk").exitCode != 0) {
        GTEST_SKIP() << "no small file system can be mounted here";
    }
    expectRefusal("orvexpdf make a.jpg -o disk/out.pdf", notWritten, {"disk/out.pdf", "No space left"});
    EXPECT_TRUE(std::filesystem::is_empty(path("disk")));
    oracle("umount disk");
}

TEST_F(BadInput, AnOutputThatIsAnInput) {
    copySample("2-letter.jpg", "a.jpg");
    write("f.json", R"({"size":{"w":4,"h":2},"items":[]})");
    oracle("ln -s a.jpg link.jpg && ln a.jpg hard.jpg");
    const auto before = read("a.jpg");
    expectRefusal("orvexpdf make a.jpg -o a.jpg", usage, {"a.jpg", "input"});
    expectRefusal("orvexpdf make a.jpg -o ./link.jpg", usage, {"link.jpg", "input"});
    expectRefusal("orvexpdf make a.jpg -o hard.jpg", usage, {"hard.jpg", "input"});
    expectRefusal("orvexpdf make a.jpg --found f.json -o f.json", usage, {"f.json", "input"});
    EXPECT_EQ(read("a.jpg"), before);
}

TEST_F(BadInput, FilesThatAreNoPDFs) {
    write("text.pdf", "This is a text.\n");
    write("empty.pdf", "");
    write("garbage.pdf", "%PDF-1.7\n" + std::string(5000, 'x'));
    std::string noise;
    for (unsigned i = 0; i < 5000; ++i) {
        noise += static_cast<char>((i * 2654435761U) >> 13);
    }
    write("noise.pdf", noise);
    for (const std::string name : {"text.pdf", "empty.pdf", "garbage.pdf", "noise.pdf"}) {
        expectRefusal("orvexpdf info " + name, unusable, {name});
        expectRefusal("orvexpdf info --json - <" + name, unusable, {"standard input"});
    }
}

TEST_F(BadInput, APDFThatNeedsAPassword) {
    copySample("2-letter.jpg", "a.jpg");
    toolOutput("make a.jpg -o plain.pdf");
    oracle("qpdf --encrypt secret owner 256 -- plain.pdf locked.pdf");
    expectRefusal("orvexpdf info locked.pdf", locked, {"locked.pdf", "password"});
    oracle("qpdf --encrypt '' owner 256 -- plain.pdf open.pdf");
    EXPECT_EQ(tool("info open.pdf").exitCode, done);
}

} // namespace
} // namespace orvex::test
