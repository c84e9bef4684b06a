// odaxgen - turns a plain-text job description into a printer job file.
//
// This is the library's whole public interface: one operation with C linkage, so that a host can
// link it or load it by name at run time (dlopen/dlsym "makeODAXData").
#pragma once

#if defined(_WIN32)
#define ODAXGEN_EXPORT __declspec(dllexport)
#else
#define ODAXGEN_EXPORT __attribute__((visibility("default")))
#endif

extern "C" {

/// Runs one whole job: reads the configuration, writes the job file it asks for.
///
/// @param configurationPath  NUL-terminated path of the configuration file. A relative path is
///                           completed with the folder of the application (on Linux the folder of
///                           the running executable), never with the current directory. The
///                           completed path has at most 259 bytes.
/// @return  0. Failure never comes back as a value.
/// @throws  int, negative, from -3 to -80: the job stopped; one or two lines on the error stream
///          said why. Everything that the job held is released, and the next job may start.
/// @throws  const char*, the text "Internal Exception": a composite CMYK page has a compression
///          other than none and PackBits. The output file stays as far as it was written, and open
///          until the next job.
///
/// What a host must know:
///  - One job at a time in a process, on the caller's thread: the modules keep their state in
///    variables of the process. The next call may follow as soon as the last one has ended.
///  - The host must be C++ (or catch at a C++ boundary), because failures are thrown; it needs the
///    same C++ run-time library as this one.
///  - The settings are echoed on standard output, ending with "done."; messages go to standard
///    error. Nothing is read from standard input.
///  - Inside the configuration, OutFilePath, image and table files are relative to the
///    configuration file; the six XML template files are relative to the application's folder;
///    SendDataFile is relative to the current directory.
///  - SplitDataSize is kept from one job of the process to the next when a job does not set it.
///  - With SplitDataSize=0 the raster data passes through TEMP_ODAXGEN.dat in the temporary folder
///    (TMPDIR or /tmp on Linux), which is removed at the end of a successful job.
///  - Pages that cannot be opened are skipped: the job goes on and still ends with "done.". The
///    images of such a page that could be opened stay open until the process ends.
///  - Writes that fail, on a full disk for example, are not reported.
ODAXGEN_EXPORT int makeODAXData(const char* configurationPath);
}
