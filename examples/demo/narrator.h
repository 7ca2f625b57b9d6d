// Tells the reader of the output what is called, what comes back and how long that takes.
#ifndef DEMO_NARRATOR_H
#define DEMO_NARRATOR_H

#include <kxcore7/counter.h>
#include <kxcore7/types.h>

#include <string>

class Narrator final {
  public:
    // Starts the step of that number.
    void Step(int number, const char* title);

    // Makes the call and tells the outcome; the microseconds that it took. A result other than the
    // one expected throws a std::runtime_error that names the step.
    template <typename Call>
    double Expect(KXResult expected, const std::string& what, Call&& call) const {
        const int64_t start = KXPerfGetCount();
        const KXResult result = call();
        const double microseconds = Microseconds(KXPerfGetCount() - start);
        TellResult(what, result, microseconds);
        if (result != expected) Fail(what, expected, result);
        return microseconds;
    }

    // Tells what came out of a step. The second throws if that is not as it should be.
    void Note(const std::string& text) const;
    void Note(const std::string& text, bool asItShouldBe) const;

  private:
    static double Microseconds(int64_t ticks);
    static void TellResult(const std::string& what, KXResult result, double microseconds);
    [[noreturn]] void Fail(const std::string& what, KXResult expected, KXResult result) const;

    int m_number = 0;
};

#endif
