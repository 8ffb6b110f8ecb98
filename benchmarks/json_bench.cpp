// The JSON model against the library under it and against two well-known libraries, on the same texts: a
// CommandHub frame, a document of 10 KB, one of 1 MB.
#include <benchmark/benchmark.h>
#include <json-parser/json.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>

#include "foundation/message_object.h"

namespace {

std::string Frame() {
    return R"({"Type":100,"Parameters":{"Topic":"D9ca356ef-b66e-421e-b61a-d6310c668b66","Message":)"
           R"("{\"Actions\":{\"Hello\":{\"Text\":\"Good day\",\"Number\":17,\"List\":[1,2,3]},)"
           R"(\"RealtimeClear\":{}}}"}})";
}

// Records of the kind that settings and replies hold, up to `size` bytes.
std::string Document(size_t size) {
    std::string text = R"({"Records":[)";
    for (int i = 0; text.size() + 200 < size; ++i) {
        if (i > 0) text += ',';
        text += R"({"Id":)" + std::to_string(i) + R"(,"Name":"record )" + std::to_string(i * 7919) +
                R"(","Enabled":)" + (i % 2 ? "true" : "false") + R"(,"Ratio":)" + std::to_string(i) +
                R"(.25,"Path":"C:\\Folder\\File )" + std::to_string(i) +
                R"(","Note":"caf\u00e9 \ud83d\ude00","Parent":null,"Tags":["one","two","three"]})";
    }
    return text + "]}";
}

const std::string& Text(int64_t which) {
    static const std::string texts[] = {Frame(), Document(10'000), Document(1'000'000)};
    return texts[which];
}

void Finish(benchmark::State& state) {
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(Text(state.range(0)).size()));
}

void* Allocate(size_t size, int zero, void*) {
    return zero ? std::calloc(1, size) : std::malloc(size);
}

void Deallocate(void* memory, void*) {
    std::free(memory);
}

void ParseLibraryAlone(benchmark::State& state) {
    const std::string& text = Text(state.range(0));
    json_settings settings{};
    json_settings freeing{};
    freeing.mem_alloc = Allocate;
    freeing.mem_free = Deallocate;
    for (auto _ : state) {
        json_value* value = json_parse_ex(&settings, text.c_str(), text.size(), nullptr);
        benchmark::DoNotOptimize(value);
        json_value_free_ex(&freeing, value);
    }
    Finish(state);
}

void ParseModel(benchmark::State& state) {
    const std::string& text = Text(state.range(0));
    for (auto _ : state) {
        orrery::CMessageObject object;
        benchmark::DoNotOptimize(object.Parse(text));
    }
    Finish(state);
}

void ParseWriteModel(benchmark::State& state) {
    const std::string& text = Text(state.range(0));
    for (auto _ : state) {
        orrery::CMessageObject object;
        std::string written;
        object.Parse(text);
        benchmark::DoNotOptimize(object.SerializeUtf8(written));
    }
    Finish(state);
}

void ParseWriteNlohmann(benchmark::State& state) {
    const std::string& text = Text(state.range(0));
    for (auto _ : state) {
        std::string written = nlohmann::ordered_json::parse(text).dump();
        benchmark::DoNotOptimize(written);
    }
    Finish(state);
}

void ParseWriteRapidJson(benchmark::State& state) {
    const std::string& text = Text(state.range(0));
    for (auto _ : state) {
        rapidjson::Document document;
        document.Parse(text.c_str(), text.size());
        rapidjson::StringBuffer buffer;
        rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
        document.Accept(writer);
        benchmark::DoNotOptimize(buffer.GetString());
    }
    Finish(state);
}

BENCHMARK(ParseLibraryAlone)->DenseRange(0, 2);
BENCHMARK(ParseModel)->DenseRange(0, 2);
BENCHMARK(ParseWriteModel)->DenseRange(0, 2);
BENCHMARK(ParseWriteNlohmann)->DenseRange(0, 2);
BENCHMARK(ParseWriteRapidJson)->DenseRange(0, 2);

}  // namespace

BENCHMARK_MAIN();
