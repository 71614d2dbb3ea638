// Appends to several arrays that belong together: all of them happen, or none.
#pragma once

namespace quilex {

// Rewinds a batch to its state at the start of the scope, however far the appends came, unless they
// were kept. A batch has `Mark mark() const noexcept` and `void rewind(const Mark&) noexcept`, and
// only grows in the scope.
template <class Batch>
class Append {
  public:
    explicit Append(Batch& batch) noexcept : batch_(batch), mark_(batch.mark()) {}
    ~Append() {
        if (!kept_) batch_.rewind(mark_);
    }
    Append(const Append&) = delete;
    Append& operator=(const Append&) = delete;

    void keep() noexcept { kept_ = true; }

  private:
    Batch& batch_;
    const typename Batch::Mark mark_;
    bool kept_ = false;
};

}  // namespace quilex
