// An INI file that processes share.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "registry/ini_file.h"
#include "support/child_process.h"
#include "support/files.h"
#include "support/ini_image.h"

using namespace kx::test;

TEST(IniFileProcesses, ThatSetValuesAtOnceLoseNone) {
    constexpr int kWorkers = 5;
    constexpr int kValues = 20;
    const ScratchDir directory;
    const auto path = directory / "file.ini";
    std::vector<ChildProcess> workers;
    for (int i = 0; i < kWorkers; ++i) {
        workers.emplace_back(KXTEST_INI_WORKER,
                             std::vector<std::string>{"set", path.string(), "s" + std::to_string(i),
                                                      std::to_string(kValues)});
    }
    for (ChildProcess& worker : workers) EXPECT_EQ(0, worker.Wait());
    const IniFile file(path.u16string().c_str());
    EXPECT_EQ(static_cast<std::size_t>(kWorkers), file.GetSections().size());
    for (const auto& [section, values] : file.Image()) {
        EXPECT_EQ(static_cast<std::size_t>(kValues), values.size());
    }
}
