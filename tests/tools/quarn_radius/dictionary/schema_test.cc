// The JSON Schema of dictionary files, held against them by Debian's python3-jsonschema.
#include <gtest/gtest.h>

#include "testing/process.h"
#include "testing/scratch_folder.h"

namespace quarn::test {
namespace {

constexpr const char* share_folder = QUARN_SOURCE_DIR "/share/quarn/radius";

ProcessResult validate(const std::vector<std::string>& files) {
    std::vector<std::string> arguments = {QUARN_SOURCE_DIR
                                          "/tests/tools/quarn_radius/dictionary/validate_schema.py",
                                          std::string(share_folder) + "/dictionary.schema.json"};
    arguments.insert(arguments.end(), files.begin(), files.end());
    return run_process(
        {.program = "/usr/bin/python3", .arguments = arguments, .time_limit = std::chrono::seconds(50)});
}

TEST(DictionarySchema, AcceptsEveryShippedFileAndEachNamesIt) {
    const ProcessResult result = validate({"--shipped", share_folder});
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.ending, exited_with(0));
}

TEST(DictionarySchema, AcceptsWhatPeopleWrite) {
    const ScratchFolder folder;
    const std::string file = folder.write("mine.yaml", R"(includes:
  - /opt/quarn/share/quarn/radius/dictionary.yaml
vendor:
  id: 64496
  name: Example
  format: 1, 1, C
attributes:
  Example-Role: {code: 26.64496.1, type: text}
  Example-Plain: {code: 17}
  Example-Mode:
    code: "26.64496.2"
    type: enum
    encrypt: 0
    has_tag: true
    values: {Idle: 0, Active: 0x1, "10": "0x10"}
)");
    const ProcessResult result = validate({file});
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.ending, exited_with(0));
}

TEST(DictionarySchema, RefusesWhatTheLoaderWouldNotUse) {
    const ScratchFolder folder;
    const std::vector<std::string> wrong = {
        "atributes: {}\n",
        "includes: base.yaml\n",
        "vendor: {name: Nameless}\n",
        "vendor: {id: 1, name: A, format: '1,0'}\n",
        "attributes: [A]\n",
        "attributes: {A: {type: text}}\n",
        "attributes: {A: {code: 1..2, type: text}}\n",
        "attributes: {A: {code: '1', type: intger}}\n",
        "attributes: {A: {code: '1', encript: 1}}\n",
        "attributes: {A: {code: '1', type: text, encrypt: 3}}\n",
        "attributes: {A: {code: '1', type: text, has_tag: maybe}}\n",
        "attributes: {A: {code: '1', type: text, concat: 1}}\n",
        "attributes: {A: {code: '1', type: text, optional_tag: 1}}\n",
        "attributes: {A: {code: '1', type: enum, values: [On]}}\n",
        "attributes: {A: {code: '1', type: enum, values: {Half: -1}}}\n",
        "attributes: {A: {code: '1', type: enum, values: {Large: 4294967296}}}\n",
        "attributes: {A: {code: '1', type: text, values: {One: 1}}}\n",
    };
    std::vector<std::string> files;
    for (const std::string& text : wrong) {
        files.push_back(folder.write("wrong" + std::to_string(files.size()) + ".yaml", text));
    }
    const ProcessResult result = validate(files);
    EXPECT_EQ(result.ending, exited_with(1));
    for (std::size_t i = 0; i < files.size(); ++i) {
        EXPECT_NE(result.output.find(files[i] + ": "), std::string::npos) << wrong[i];
    }
}

}  // namespace
}  // namespace quarn::test
