// Single functions that are called often, with Google Benchmark.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "interface/texts.h"
#include "process/archive/settings.h"
#include "shell/compose.h"
#include "shell/fill.h"
#include "system/windows_text.h"

namespace {

using Stream = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

// The file that bench/run has named.
Stream opened(const char* variable) {
  const char* path = std::getenv(variable);
  Stream stream(path == nullptr ? nullptr : std::fopen(path, "r"), std::fclose);
  if (!stream) std::exit(2);
  return stream;
}

void compose_plain(benchmark::State& state) {
  const std::string from = "/root/brindle/My Documents", home = "/home/ann";
  for (auto _ : state) benchmark::DoNotOptimize(compose("cp -a \"%s\"/* %s/Documents", from, home));
}

void compose_escaped(benchmark::State& state) {
  const std::string from = "/root/it's \"5 $\" & more", home = "/home/ann";
  for (auto _ : state) benchmark::DoNotOptimize(compose("cp -a \"%s\"/* %s/Documents", from, home));
}

void setting_of_account(benchmark::State& state) {
  const Stream file = opened("BRINDLE_BENCH_ACCOUNT");
  for (auto _ : state) benchmark::DoNotOptimize(setting(file.get(), "SMTP Email Address"));
}

void text_of_widget(benchmark::State& state) {
  const Stream file = opened("BRINDLE_BENCH_TEXTS");
  for (auto _ : state) benchmark::DoNotOptimize(get_widget_string(file.get(), "window2-next"));
}

void fill_text(benchmark::State& state) {
  const std::string name = "Ann <ann@home.example>", place = "/home/ann";
  for (auto _ : state)
    benchmark::DoNotOptimize(
        fill("name=@name@\nplace=@place@\nagain=@name@\n", {{"name", name}, {"place", place}}));
}

void decode_name(benchmark::State& state) {
  const std::string name =
      "M\xFCller, Stra\xDF"
      "e 5.txt";
  for (auto _ : state) benchmark::DoNotOptimize(as_utf8(name, "de_DE.UTF-8"));
}

BENCHMARK(compose_plain);
BENCHMARK(compose_escaped);
BENCHMARK(setting_of_account);
BENCHMARK(text_of_widget);
BENCHMARK(fill_text);
BENCHMARK(decode_name);

}  // namespace

BENCHMARK_MAIN();
