/* OBZX_API marks what a shared library shows of itself: what libobzx_pdk.so exports of the runtime, and what a provider
 * exports of the glue, its entry points. Everything else stays inside. */
#ifndef OBZX_EXPORT_H
#define OBZX_EXPORT_H

#define OBZX_API __attribute__((visibility("default")))

#endif
