#pragma once

/// Makes an allocation of the calling thread fail. What the test doubles allocate for themselves
/// doesn't count.
namespace allocations {

/// The nth allocation from now on fails, the first being 1; 0 for none. `operator new` throws, its
/// nothrow form answers null.
void failNth(unsigned nth);

/// Whether an allocation has been failed since `failNth`.
bool failed();

/// What is allocated while one of these lives neither counts nor fails.
class Exempt {
 public:
  Exempt();
  ~Exempt();
  Exempt(const Exempt&) = delete;
  Exempt& operator=(const Exempt&) = delete;
};

}  // namespace allocations
