#include <benchmark/benchmark.h>
#include <kxcore7/component.h>
#include <kxcore7/registry.h>

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "component_class.h"
#include "report.h"
#include "subjects.h"

namespace bench {
namespace {

constexpr KXGUID kClassFactory = KX_IID_CLASS_FACTORY;

void RegisterClass() {
    char16_t name[KX_GUID_TEXT_SIZE];
    KXComStringFromGUID(&kClass, name, KX_GUID_TEXT_SIZE);
    const std::u16string key = u"CLSID\\" + std::u16string(name) + u"\\InprocServer32";
    const std::u16string path = std::filesystem::path(BENCH_COMPONENT_PATH).u16string();
    const auto bytes = static_cast<std::uint32_t>((path.size() + 1) * sizeof(char16_t));
    if (KXRegistrySetValue(KX_HKEY_CLASSES, key.c_str(), u"", KX_REG_SZ, path.c_str(), bytes) !=
        0) {
        throw std::runtime_error("the component can't be registered");
    }
}

IKXUnknown* Request() {
    void* object = nullptr;
    KXComGetClassObject(&kClass, &kClassFactory, &object);
    return static_cast<IKXUnknown*>(object);
}

void Cached(benchmark::State& state) {
    IKXUnknown* const first = Request();
    if (first == nullptr) return Fail(state, "the class can't be had");
    for (auto _ : state) IKXUnknown_Release(Request());
    IKXUnknown_Release(first);
}

// What remains of a request when nothing is to be found.
void Direct(benchmark::State& state) {
    IKXUnknown* const factory = Request();
    if (factory == nullptr) return Fail(state, "the class can't be had");
    for (auto _ : state) {
        void* object = nullptr;
        IKXUnknown_QueryInterface(factory, &kClassFactory, &object);
        IKXUnknown_Release(static_cast<IKXUnknown*>(object));
    }
    IKXUnknown_Release(factory);
}

void Uncached(benchmark::State& state) {
    for (auto _ : state) {
        KXComFlushFactoryCache();
        IKXUnknown* const factory = Request();
        if (factory == nullptr) return Fail(state, "the class can't be had");
        IKXUnknown_Release(factory);
    }
}

}  // namespace

void RegisterComponents(Report& report) {
    RegisterClass();
    benchmark::RegisterBenchmark("class request/cached", Cached);
    benchmark::RegisterBenchmark("class request/direct", Direct);
    benchmark::RegisterBenchmark("class request/uncached", Uncached);
    report.Add({.what = "cached class request + Release",
                .benchmark = "class request/cached",
                .peers = {{"QueryInterface + Release alone", "class request/direct"}},
                .asides = {{"flush + uncached request + Release", "class request/uncached"}}});
}

}  // namespace bench
