// The JSON model against the library under it and against two well-known libraries, on the same texts: a
// CommandHub frame, documents of 10 KB and 1 MB. How its time grows with the members of an object, and what
// texts cost that are made to be slow.
#include <benchmark/benchmark.h>
#include <json-parser/json.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>

#include "benchmarks/colliding_keys.h"
#include "foundation/json/message_object.h"
#include "platform/linux/code_page.h"

namespace {

std::string Frame() {
    return R"({"Type":100,"Parameters":{"Topic":"D9ca356ef-b66e-421e-b61a-d6310c668b66","Message":)"
           R"("{\"Actions\":{\"Hello\":{\"Text\":\"Good day\",\"Number\":17,\"List\":[1,2,3]},)"
           R"(\"RealtimeClear\":{}}}"}})";
}

// Grows by one member at a time, up to `size` bytes.
template <class Member>
std::string Grown(size_t size, const std::string& open, const std::string& close, Member member) {
    std::string text = open;
    for (int i = 0; text.size() + 400 < size; ++i) text += (i > 0 ? "," : "") + member(std::to_string(i));
    return text + close;
}

// What a server sends: events with their parameters, which are ids, paths and sentences.
std::string Events(size_t size) {
    return Grown(size, R"({"Actions":{)", "}}", [](const std::string& i) {
        return R"("Task)" + i +
               R"(":{"TaskId":"{9ca356ef-b66e-421e-b61a-d6310c668b66}","Enabled":true,"Order":)" + i +
               R"(,"CommandLine":"\"C:\\Program Files\\Vendor\\Tool.exe\" --quiet --task )" + i +
               R"(","Description":"Looks for updates of what is installed here, and asks before it goes on","Text":"caf\u00e9"})";
    });
}

// Many small values: short keys, numbers, flags.
std::string Records(size_t size) {
    return Grown(size, R"({"Records":[)", "]}", [](const std::string& i) {
        return R"({"Id":)" + i + R"(,"Name":"record )" + i + R"(","Enabled":false,"Ratio":)" + i +
               R"(.25,"Parent":null,"Tags":["one","two","three"]})";
    });
}

const std::string& Text(int64_t which) {
    static const std::string texts[] = {Frame(), Events(10'000), Events(1'000'000), Records(10'000),
                                        Records(1'000'000)};
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
        std::string written = nlohmann::json::parse(text).dump();
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

// One object with that many members: the time grows as the text does.
void ParseMembers(benchmark::State& state) {
    std::string text = "{";
    for (int64_t i = 0; i < state.range(0); ++i)
        text += (i > 0 ? ",\"Member" : "\"Member") + std::to_string(i) + "\":\"value\"";
    text += '}';
    for (auto _ : state) {
        orrery::CMessageObject object;
        benchmark::DoNotOptimize(object.Parse(text));
    }
}

// An object whose keys collide in the standard library's hash, and one of as many keys of that length that
// don't.
void ParseKeys(benchmark::State& state, bool colliding) {
    const bench::CollidingKeys keys;
    orrery::CMessageObject source;
    for (unsigned i = 0; i < bench::CollidingKeys::count; ++i) {
        orrery::WideString key = keys.Key(i);
        if (!colliding) key = keys.Key(0).replace(0, 8, orrery::ToWide(std::to_string(10'000'000 + i)));
        source.AddItem(orrery::CMessageItem(std::move(key), true), false);
    }
    std::string text;
    source.SerializeUtf8(text);
    for (auto _ : state) {
        orrery::CMessageObject object;
        benchmark::DoNotOptimize(object.Parse(text));
    }
}

// 100,000 letters that the code page lacks, or has.
void ConvertLetters(benchmark::State& state, char16_t letter) {
    const orrery::platform::CodePage page("ISO-8859-1");
    const orrery::WideString text(100'000, letter);
    std::string narrow;
    for (auto _ : state) benchmark::DoNotOptimize(page.FromWide(text, narrow));
}

BENCHMARK_CAPTURE(ParseKeys, Colliding, true);
BENCHMARK_CAPTURE(ParseKeys, Others, false);
BENCHMARK_CAPTURE(ConvertLetters, Lacking, u'\u20AC');
BENCHMARK_CAPTURE(ConvertLetters, Known, u'\u00E4');
BENCHMARK(ParseMembers)->RangeMultiplier(10)->Range(100, 100'000);
BENCHMARK(ParseLibraryAlone)->DenseRange(0, 4);
BENCHMARK(ParseModel)->DenseRange(0, 4);
BENCHMARK(ParseWriteModel)->DenseRange(0, 4);
BENCHMARK(ParseWriteNlohmann)->DenseRange(0, 4);
BENCHMARK(ParseWriteRapidJson)->DenseRange(0, 4);

}  // namespace

BENCHMARK_MAIN();
