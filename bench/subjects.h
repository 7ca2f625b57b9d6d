// What the run consists of. Each registers its benchmarks and adds its rows to the report.
#ifndef KXCORE7_BENCH_SUBJECTS_H
#define KXCORE7_BENCH_SUBJECTS_H

#include <filesystem>

#include "report.h"

namespace bench {

void RegisterMutexes(Report& report);
void RegisterWaitables(Report& report);
void RegisterReaderWriterLocks(Report& report);
void RegisterMemory(Report& report);
// The peers' files are made in the scratch directory; the registry's own store is there by then.
// The stores of many values are made in the other one.
void RegisterRegistry(Report& report, const std::filesystem::path& scratch,
                      const std::filesystem::path& large, bool quick);
// The files are made in the scratch directory.
void RegisterIni(Report& report, const std::filesystem::path& scratch, bool quick);
void RegisterComponents(Report& report);
void RegisterText(Report& report);
void RegisterEncoding(Report& report);
// The files that are read, written, copied and listed are made in the scratch directory.
void RegisterFiles(Report& report, const std::filesystem::path& scratch, bool quick);
void RegisterNamed(Report& report);
void RegisterProcesses(Report& report, bool quick);
void RegisterHost(Report& report);
void RegisterOptions(Report& report);

}  // namespace bench

#endif
