#include "platform/threads.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

using namespace kx::platform;

TEST(Threads, TheIdIsTheKernels) {
    EXPECT_EQ(static_cast<std::uint32_t>(gettid()), CurrentThreadId());
}

TEST(Threads, TheChildOfAForkHasItsOwnId) {
    CurrentThreadId();
    const pid_t child = fork();
    if (child == 0) _exit(CurrentThreadId() == static_cast<std::uint32_t>(getpid()) ? 0 : 1);
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
}

TEST(Threads, SleepSurvivesSignals) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    struct sigaction before {};
    sigaction(SIGUSR1, &action, &before);
    const pthread_t sleeper = pthread_self();
    std::thread disturber([sleeper] {
        for (int i = 0; i < 5; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            pthread_kill(sleeper, SIGUSR1);
        }
    });
    const auto start = std::chrono::steady_clock::now();
    Sleep(30);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
    disturber.join();
    sigaction(SIGUSR1, &before, nullptr);
}
