// Loading dictionaries, beside yaml-cpp's events for the same bytes.
#include <benchmark/benchmark.h>
#include <unistd.h>
#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/yaml.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "quarn/radius/dictionary.h"

namespace {

using quarn::subscriber::radius::RadiusDictionary;

constexpr char shipped_folder[] = QUARN_SOURCE_DIR "/share/quarn/radius";

/// Takes every event and does nothing with it.
class EventSink : public YAML::EventHandler {
  public:
    void OnDocumentStart(const YAML::Mark&) override {}
    void OnDocumentEnd() override {}
    void OnNull(const YAML::Mark&, YAML::anchor_t) override {}
    void OnAlias(const YAML::Mark&, YAML::anchor_t) override {}
    void OnScalar(const YAML::Mark&, const std::string&, YAML::anchor_t, const std::string&) override {}
    void OnSequenceStart(const YAML::Mark&, const std::string&, YAML::anchor_t,
                         YAML::EmitterStyle::value) override {}
    void OnSequenceEnd() override {}
    void OnMapStart(const YAML::Mark&, const std::string&, YAML::anchor_t,
                    YAML::EmitterStyle::value) override {}
    void OnMapEnd() override {}
};

void parse_events(const std::vector<std::filesystem::path>& files) {
    for (const std::filesystem::path& file : files) {
        std::ifstream stream(file);
        YAML::Parser parser(stream);
        EventSink sink;
        while (parser.HandleNextDocument(sink)) {
        }
    }
}

/// The shipped files that full.yaml's tree consists of.
std::vector<std::filesystem::path> shipped_files() {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(shipped_folder)) {
        if (entry.path().extension() == ".yaml") {
            files.push_back(entry.path());
        }
    }
    return files;
}

/// A file of 2,000 attributes in ordinary block YAML, removed at the end of the run.
class BlockFile {
  public:
    BlockFile()
        : path_(std::filesystem::temp_directory_path() /
                ("quarn-benchmark-block-" + std::to_string(getpid()) + ".yaml")) {
        std::ofstream yaml(path_);
        yaml << "vendor:\n  id: 64496\n  name: Example\nattributes:\n";
        for (int i = 1; i <= 2000; ++i) {
            yaml << "  Example-Attribute-" << i << ":\n    code: 26.64496." << i << "\n    type: "
                 << (i % 4 == 0 ? "enum\n    values:\n      Off: 0\n      On: 1\n      Auto: 0x10\n"
                                : "text\n");
        }
    }
    ~BlockFile() { std::filesystem::remove(path_); }
    BlockFile(const BlockFile&) = delete;
    BlockFile& operator=(const BlockFile&) = delete;

    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

void load(benchmark::State& state, const std::filesystem::path& root) {
    for ([[maybe_unused]] const auto& iteration : state) {
        std::optional<RadiusDictionary> dictionary(std::in_place);
        dictionary->load(root.string());
        benchmark::DoNotOptimize(dictionary);
        state.PauseTiming();  // `authprobe` never takes its dictionary apart
        dictionary.reset();
        state.ResumeTiming();
    }
}

void events(benchmark::State& state, const std::vector<std::filesystem::path>& files) {
    for ([[maybe_unused]] const auto& iteration : state) {
        parse_events(files);
    }
}

const std::filesystem::path& block_file() {
    static const BlockFile file;
    return file.path();
}

template <typename Function>
void add(const char* name, Function function) {
    benchmark::RegisterBenchmark(name, function)->Unit(benchmark::kMillisecond)->Repetitions(5);
}

const bool registered = [] {
    add("Load/full_events", [](auto& state) { events(state, shipped_files()); });
    add("Load/full", [](auto& state) { load(state, std::string(shipped_folder) + "/full.yaml"); });
    add("Load/default", [](auto& state) { load(state, std::string(shipped_folder) + "/dictionary.yaml"); });
    add("Load/block_events", [](auto& state) { events(state, {block_file()}); });
    add("Load/block", [](auto& state) { load(state, block_file()); });
    return true;
}();

}  // namespace
