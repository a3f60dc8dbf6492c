/* Marks what libobzx_pdk.so exports; everything else of the runtime stays inside it. */
#ifndef OBZX_EXPORT_H
#define OBZX_EXPORT_H

#define OBZX_API __attribute__((visibility("default")))

#endif
