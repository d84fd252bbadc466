// Kel/ThreadLocal.h: KEL_HOT_THREAD_LOCAL, the model of the thread-local
// words read on every hit of a table. Code built into a shared library would
// reach them through a call (__tls_get_addr); initial-exec makes that one
// load from the thread pointer (the library is linked, not opened later).
// Code built into a program already gets the cheaper local-exec model,
// which forcing initial-exec there would make one load slower.
//
//   static constinit inline thread_local Slot* last KEL_HOT_THREAD_LOCAL = nullptr;
#pragma once

#if defined( __PIC__ ) && !defined( __PIE__ )
#define KEL_HOT_THREAD_LOCAL [[gnu::tls_model( "initial-exec" )]]
#else
#define KEL_HOT_THREAD_LOCAL
#endif
