// The tests ask for more memory than there is, and expect to be told so.
extern "C" {

const char *__asan_default_options();  // NOLINT(bugprone-reserved-identifier)
const char *__asan_default_options() { // NOLINT(bugprone-reserved-identifier)
    return "allocator_may_return_null=1";
}

const char *__tsan_default_options();  // NOLINT(bugprone-reserved-identifier)
const char *__tsan_default_options() { // NOLINT(bugprone-reserved-identifier)
    return "allocator_may_return_null=1";
}
}
