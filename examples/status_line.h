// A line on the terminal that tells how far long work has come. Work that is done at once shows
// none, and neither does work that nobody watches.
#ifndef EXAMPLES_STATUS_LINE_H
#define EXAMPLES_STATUS_LINE_H

#include <cstdint>
#include <string>

class StatusLine final {
  public:
    // Without leave nothing is shown, whoever watches.
    explicit StatusLine(bool leave = true);
    // Takes the line away again.
    ~StatusLine();
    StatusLine(const StatusLine&) = delete;
    StatusLine& operator=(const StatusLine&) = delete;

    // Takes the line away until it is shown again.
    void Hide();

    // Shows what tell(seconds since the start) says, if it is time for it.
    template <typename Tell>
    void Show(Tell tell) {
        if (IsDue()) Draw(tell(Seconds()));
    }

  private:
    bool IsDue();
    double Seconds() const;
    void Draw(const std::string& text);

    const bool m_watched;
    const std::int64_t m_start;
    std::int64_t m_next;
    int m_width = 0;
};

#endif
