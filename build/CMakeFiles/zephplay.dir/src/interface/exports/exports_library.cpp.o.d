CMakeFiles/zephplay.dir/src/interface/exports/exports_library.cpp.o: \
 /work/main/src/interface/exports/exports_library.cpp \
 /usr/include/stdc-predef.h /usr/include/c++/12/cmath \
 /usr/include/x86_64-linux-gnu/c++/12/bits/c++config.h \
 /usr/include/x86_64-linux-gnu/c++/12/bits/os_defines.h \
 /usr/include/features.h /usr/include/features-time64.h \
 /usr/include/x86_64-linux-gnu/bits/wordsize.h \
 /usr/include/x86_64-linux-gnu/bits/timesize.h \
 /usr/include/x86_64-linux-gnu/sys/cdefs.h \
 /usr/include/x86_64-linux-gnu/bits/long-double.h \
 /usr/include/x86_64-linux-gnu/gnu/stubs.h \
 /usr/include/x86_64-linux-gnu/gnu/stubs-64.h \
 /usr/include/x86_64-linux-gnu/c++/12/bits/cpu_defines.h \
 /usr/include/c++/12/pstl/pstl_config.h \
 /usr/include/c++/12/bits/cpp_type_traits.h \
 /usr/include/c++/12/ext/type_traits.h /usr/include/math.h \
 /usr/include/x86_64-linux-gnu/bits/libc-header-start.h \
 /usr/include/x86_64-linux-gnu/bits/types.h \
 /usr/include/x86_64-linux-gnu/bits/typesizes.h \
 /usr/include/x86_64-linux-gnu/bits/time64.h \
 /usr/include/x86_64-linux-gnu/bits/math-vector.h \
 /usr/include/x86_64-linux-gnu/bits/libm-simd-decl-stubs.h \
 /usr/include/x86_64-linux-gnu/bits/floatn.h \
 /usr/include/x86_64-linux-gnu/bits/floatn-common.h \
 /usr/include/x86_64-linux-gnu/bits/flt-eval-method.h \
 /usr/include/x86_64-linux-gnu/bits/fp-logb.h \
 /usr/include/x86_64-linux-gnu/bits/fp-fast.h \
 /usr/include/x86_64-linux-gnu/bits/mathcalls-helper-functions.h \
 /usr/include/x86_64-linux-gnu/bits/mathcalls.h \
 /usr/include/x86_64-linux-gnu/bits/mathcalls-narrow.h \
 /usr/include/x86_64-linux-gnu/bits/iscanonical.h \
 /usr/include/c++/12/bits/std_abs.h /usr/include/stdlib.h \
 /usr/lib/gcc/x86_64-linux-gnu/12/include/stddef.h \
 /usr/include/x86_64-linux-gnu/bits/waitflags.h \
 /usr/include/x86_64-linux-gnu/bits/waitstatus.h \
 /usr/include/x86_64-linux-gnu/bits/types/locale_t.h \
 /usr/include/x86_64-linux-gnu/bits/types/__locale_t.h \
 /usr/include/x86_64-linux-gnu/sys/types.h \
 /usr/include/x86_64-linux-gnu/bits/types/clock_t.h \
 /usr/include/x86_64-linux-gnu/bits/types/clockid_t.h \
 /usr/include/x86_64-linux-gnu/bits/types/time_t.h \
 /usr/include/x86_64-linux-gnu/bits/types/timer_t.h \
 /usr/include/x86_64-linux-gnu/bits/stdint-intn.h /usr/include/endian.h \
 /usr/include/x86_64-linux-gnu/bits/endian.h \
 /usr/include/x86_64-linux-gnu/bits/endianness.h \
 /usr/include/x86_64-linux-gnu/bits/byteswap.h \
 /usr/include/x86_64-linux-gnu/bits/uintn-identity.h \
 /usr/include/x86_64-linux-gnu/sys/select.h \
 /usr/include/x86_64-linux-gnu/bits/select.h \
 /usr/include/x86_64-linux-gnu/bits/types/sigset_t.h \
 /usr/include/x86_64-linux-gnu/bits/types/__sigset_t.h \
 /usr/include/x86_64-linux-gnu/bits/types/struct_timeval.h \
 /usr/include/x86_64-linux-gnu/bits/types/struct_timespec.h \
 /usr/include/x86_64-linux-gnu/bits/pthreadtypes.h \
 /usr/include/x86_64-linux-gnu/bits/thread-shared-types.h \
 /usr/include/x86_64-linux-gnu/bits/pthreadtypes-arch.h \
 /usr/include/x86_64-linux-gnu/bits/atomic_wide_counter.h \
 /usr/include/x86_64-linux-gnu/bits/struct_mutex.h \
 /usr/include/x86_64-linux-gnu/bits/struct_rwlock.h /usr/include/alloca.h \
 /usr/include/x86_64-linux-gnu/bits/stdlib-bsearch.h \
 /usr/include/x86_64-linux-gnu/bits/stdlib-float.h \
 /usr/include/c++/12/bits/specfun.h \
 /usr/include/c++/12/bits/stl_algobase.h \
 /usr/include/c++/12/bits/functexcept.h \
 /usr/include/c++/12/bits/exception_defines.h \
 /usr/include/c++/12/ext/numeric_traits.h \
 /usr/include/c++/12/bits/stl_pair.h /usr/include/c++/12/type_traits \
 /usr/include/c++/12/bits/move.h /usr/include/c++/12/bits/utility.h \
 /usr/include/c++/12/compare /usr/include/c++/12/concepts \
 /usr/include/c++/12/bits/stl_iterator_base_types.h \
 /usr/include/c++/12/bits/iterator_concepts.h \
 /usr/include/c++/12/bits/ptr_traits.h \
 /usr/include/c++/12/bits/ranges_cmp.h \
 /usr/include/c++/12/bits/stl_iterator_base_funcs.h \
 /usr/include/c++/12/bits/concept_check.h \
 /usr/include/c++/12/debug/assertions.h \
 /usr/include/c++/12/bits/stl_iterator.h /usr/include/c++/12/new \
 /usr/include/c++/12/bits/exception.h \
 /usr/include/c++/12/bits/stl_construct.h \
 /usr/include/c++/12/debug/debug.h \
 /usr/include/c++/12/bits/predefined_ops.h /usr/include/c++/12/limits \
 /usr/include/c++/12/tr1/gamma.tcc \
 /usr/include/c++/12/tr1/special_function_util.h \
 /usr/include/c++/12/tr1/bessel_function.tcc \
 /usr/include/c++/12/tr1/beta_function.tcc \
 /usr/include/c++/12/tr1/ell_integral.tcc \
 /usr/include/c++/12/tr1/exp_integral.tcc \
 /usr/include/c++/12/tr1/hypergeometric.tcc \
 /usr/include/c++/12/tr1/legendre_function.tcc \
 /usr/include/c++/12/tr1/modified_bessel_func.tcc \
 /usr/include/c++/12/tr1/poly_hermite.tcc \
 /usr/include/c++/12/tr1/poly_laguerre.tcc \
 /usr/include/c++/12/tr1/riemann_zeta.tcc /usr/include/c++/12/cstring \
 /usr/include/string.h /usr/include/strings.h \
 /work/main/src/interface/config/CLibraryConfig.h \
 /usr/include/c++/12/mutex /usr/include/c++/12/tuple \
 /usr/include/c++/12/bits/uses_allocator.h \
 /usr/include/c++/12/bits/invoke.h /usr/include/c++/12/exception \
 /usr/include/c++/12/bits/exception_ptr.h \
 /usr/include/c++/12/bits/cxxabi_init_exception.h \
 /usr/include/c++/12/typeinfo /usr/include/c++/12/bits/hash_bytes.h \
 /usr/include/c++/12/bits/nested_exception.h \
 /usr/include/c++/12/system_error \
 /usr/include/x86_64-linux-gnu/c++/12/bits/error_constants.h \
 /usr/include/c++/12/cerrno /usr/include/errno.h \
 /usr/include/x86_64-linux-gnu/bits/errno.h /usr/include/linux/errno.h \
 /usr/include/x86_64-linux-gnu/asm/errno.h \
 /usr/include/asm-generic/errno.h /usr/include/asm-generic/errno-base.h \
 /usr/include/x86_64-linux-gnu/bits/types/error_t.h \
 /usr/include/c++/12/iosfwd /usr/include/c++/12/bits/stringfwd.h \
 /usr/include/c++/12/bits/memoryfwd.h /usr/include/c++/12/bits/postypes.h \
 /usr/include/c++/12/cwchar /usr/include/wchar.h \
 /usr/lib/gcc/x86_64-linux-gnu/12/include/stdarg.h \
 /usr/include/x86_64-linux-gnu/bits/wchar.h \
 /usr/include/x86_64-linux-gnu/bits/types/wint_t.h \
 /usr/include/x86_64-linux-gnu/bits/types/mbstate_t.h \
 /usr/include/x86_64-linux-gnu/bits/types/__mbstate_t.h \
 /usr/include/x86_64-linux-gnu/bits/types/__FILE.h \
 /usr/include/x86_64-linux-gnu/bits/types/FILE.h \
 /usr/include/c++/12/stdexcept /usr/include/c++/12/string \
 /usr/include/c++/12/bits/char_traits.h /usr/include/c++/12/cstdint \
 /usr/lib/gcc/x86_64-linux-gnu/12/include/stdint.h /usr/include/stdint.h \
 /usr/include/x86_64-linux-gnu/bits/stdint-uintn.h \
 /usr/include/c++/12/bits/allocator.h \
 /usr/include/x86_64-linux-gnu/c++/12/bits/c++allocator.h \
 /usr/include/c++/12/bits/new_allocator.h \
 /usr/include/c++/12/bits/localefwd.h \
 /usr/include/x86_64-linux-gnu/c++/12/bits/c++locale.h \
 /usr/include/c++/12/clocale /usr/include/locale.h \
 /usr/include/x86_64-linux-gnu/bits/locale.h /usr/include/c++/12/cctype \
 /usr/include/ctype.h /usr/include/c++/12/bits/ostream_insert.h \
 /usr/include/c++/12/bits/cxxabi_forced.h \
 /usr/include/c++/12/bits/stl_function.h \
 /usr/include/c++/12/backward/binders.h \
 /usr/include/c++/12/bits/refwrap.h \
 /usr/include/c++/12/bits/range_access.h \
 /usr/include/c++/12/initializer_list \
 /usr/include/c++/12/bits/basic_string.h \
 /usr/include/c++/12/ext/alloc_traits.h \
 /usr/include/c++/12/bits/alloc_traits.h /usr/include/c++/12/string_view \
 /usr/include/c++/12/bits/functional_hash.h \
 /usr/include/c++/12/bits/ranges_base.h \
 /usr/include/c++/12/bits/max_size_type.h /usr/include/c++/12/numbers \
 /usr/include/c++/12/bits/string_view.tcc \
 /usr/include/c++/12/ext/string_conversions.h /usr/include/c++/12/cstdlib \
 /usr/include/c++/12/cstdio /usr/include/stdio.h \
 /usr/include/x86_64-linux-gnu/bits/types/__fpos_t.h \
 /usr/include/x86_64-linux-gnu/bits/types/__fpos64_t.h \
 /usr/include/x86_64-linux-gnu/bits/types/struct_FILE.h \
 /usr/include/x86_64-linux-gnu/bits/types/cookie_io_functions_t.h \
 /usr/include/x86_64-linux-gnu/bits/stdio_lim.h \
 /usr/include/x86_64-linux-gnu/bits/stdio.h \
 /usr/include/c++/12/bits/charconv.h \
 /usr/include/c++/12/bits/basic_string.tcc \
 /usr/include/c++/12/bits/chrono.h /usr/include/c++/12/ratio \
 /usr/include/c++/12/ctime /usr/include/time.h \
 /usr/include/x86_64-linux-gnu/bits/time.h \
 /usr/include/x86_64-linux-gnu/bits/timex.h \
 /usr/include/x86_64-linux-gnu/bits/types/struct_tm.h \
 /usr/include/x86_64-linux-gnu/bits/types/struct_itimerspec.h \
 /usr/include/c++/12/bits/parse_numbers.h \
 /usr/include/c++/12/bits/std_mutex.h \
 /usr/include/x86_64-linux-gnu/c++/12/bits/gthr.h \
 /usr/include/x86_64-linux-gnu/c++/12/bits/gthr-default.h \
 /usr/include/pthread.h /usr/include/sched.h \
 /usr/include/x86_64-linux-gnu/bits/sched.h \
 /usr/include/x86_64-linux-gnu/bits/types/struct_sched_param.h \
 /usr/include/x86_64-linux-gnu/bits/cpu-set.h \
 /usr/include/x86_64-linux-gnu/bits/setjmp.h \
 /usr/include/x86_64-linux-gnu/bits/types/struct___jmp_buf_tag.h \
 /usr/include/x86_64-linux-gnu/bits/pthread_stack_min-dynamic.h \
 /usr/include/c++/12/bits/unique_lock.h \
 /usr/include/c++/12/ext/atomicity.h \
 /usr/include/x86_64-linux-gnu/c++/12/bits/atomic_word.h \
 /usr/include/x86_64-linux-gnu/sys/single_threaded.h \
 /work/main/src/interface/config/CIniFile.h \
 /work/main/src/interface/config/Settings.h /usr/include/c++/12/atomic \
 /usr/include/c++/12/bits/atomic_base.h \
 /usr/include/c++/12/bits/atomic_lockfree_defines.h \
 /usr/include/c++/12/bits/atomic_wait.h /usr/include/c++/12/climits \
 /usr/lib/gcc/x86_64-linux-gnu/12/include/limits.h \
 /usr/lib/gcc/x86_64-linux-gnu/12/include/syslimits.h \
 /usr/include/limits.h /usr/include/x86_64-linux-gnu/bits/posix1_lim.h \
 /usr/include/x86_64-linux-gnu/bits/local_lim.h \
 /usr/include/linux/limits.h \
 /usr/include/x86_64-linux-gnu/bits/posix2_lim.h \
 /usr/include/x86_64-linux-gnu/bits/xopen_lim.h \
 /usr/include/x86_64-linux-gnu/bits/uio_lim.h /usr/include/unistd.h \
 /usr/include/x86_64-linux-gnu/bits/posix_opt.h \
 /usr/include/x86_64-linux-gnu/bits/environments.h \
 /usr/include/x86_64-linux-gnu/bits/confname.h \
 /usr/include/x86_64-linux-gnu/bits/getopt_posix.h \
 /usr/include/x86_64-linux-gnu/bits/getopt_core.h \
 /usr/include/x86_64-linux-gnu/bits/unistd_ext.h \
 /usr/include/linux/close_range.h /usr/include/syscall.h \
 /usr/include/x86_64-linux-gnu/sys/syscall.h \
 /usr/include/x86_64-linux-gnu/asm/unistd.h \
 /usr/include/x86_64-linux-gnu/asm/unistd_64.h \
 /usr/include/x86_64-linux-gnu/bits/syscall.h \
 /work/main/src/interface/exports/ExportSupport.h \
 /work/main/src/interface/PlayHandle.h \
 /work/main/src/player/CBasePlayer.h \
 /work/main/src/interface/log/LogAccess.h \
 /work/main/src/interface/log/CLogFile2.h /usr/include/c++/12/cstdarg \
 /usr/include/c++/12/memory /usr/include/c++/12/bits/stl_uninitialized.h \
 /usr/include/c++/12/bits/stl_tempbuf.h \
 /usr/include/c++/12/bits/stl_raw_storage_iter.h \
 /usr/include/c++/12/bits/align.h /usr/include/c++/12/bit \
 /usr/include/c++/12/bits/unique_ptr.h /usr/include/c++/12/ostream \
 /usr/include/c++/12/ios /usr/include/c++/12/bits/ios_base.h \
 /usr/include/c++/12/bits/locale_classes.h \
 /usr/include/c++/12/bits/locale_classes.tcc \
 /usr/include/c++/12/streambuf /usr/include/c++/12/bits/streambuf.tcc \
 /usr/include/c++/12/bits/basic_ios.h \
 /usr/include/c++/12/bits/locale_facets.h /usr/include/c++/12/cwctype \
 /usr/include/wctype.h /usr/include/x86_64-linux-gnu/bits/wctype-wchar.h \
 /usr/include/x86_64-linux-gnu/c++/12/bits/ctype_base.h \
 /usr/include/c++/12/bits/streambuf_iterator.h \
 /usr/include/x86_64-linux-gnu/c++/12/bits/ctype_inline.h \
 /usr/include/c++/12/bits/locale_facets.tcc \
 /usr/include/c++/12/bits/basic_ios.tcc \
 /usr/include/c++/12/bits/ostream.tcc \
 /usr/include/c++/12/bits/shared_ptr.h \
 /usr/include/c++/12/bits/shared_ptr_base.h \
 /usr/include/c++/12/bits/allocated_ptr.h \
 /usr/include/c++/12/ext/aligned_buffer.h \
 /usr/include/c++/12/ext/concurrence.h \
 /usr/include/c++/12/bits/shared_ptr_atomic.h \
 /usr/include/c++/12/backward/auto_ptr.h \
 /usr/include/c++/12/bits/ranges_uninitialized.h \
 /usr/include/c++/12/bits/ranges_algobase.h \
 /usr/include/c++/12/bits/uses_allocator_args.h \
 /usr/include/c++/12/pstl/glue_memory_defs.h \
 /usr/include/c++/12/pstl/execution_defs.h /work/main/include/zephplay.h \
 /work/main/src/platform/ProcessLimits.h
