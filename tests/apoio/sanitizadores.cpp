// The tests ask for more memory than there is, and expect to be told so; and they start threads in the child
// of a fork.
extern "C" {

const char *__asan_default_options();  // NOLINT(bugprone-reserved-identifier)
const char *__asan_default_options() { // NOLINT(bugprone-reserved-identifier)
    return "allocator_may_return_null=1";
}

const char *__tsan_default_options();  // NOLINT(bugprone-reserved-identifier)
const char *__tsan_default_options() { // NOLINT(bugprone-reserved-identifier)
    return "allocator_may_return_null=1:die_after_fork=0";
}
}
