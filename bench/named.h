// What the benchmarks of two processes need of the program: to be run once more, as the other one.
#ifndef KXCORE7_BENCH_NAMED_H
#define KXCORE7_BENCH_NAMED_H

namespace bench {

// Whether the program's words are those of such a run.
bool IsPartner(int argc, char** argv);
// Returns when it can't go on.
void PlayPartner(char** argv);

}  // namespace bench

#endif
