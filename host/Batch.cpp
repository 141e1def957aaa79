// Job planning, the worker threads of a batch and its report lines.
#include "Batch.h"
#include "CJsonWriter.h"
#include "COutputFile.h"
#include "HostError.h"
#include "OutputFormat.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <mutex>
#include <set>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace
{
std::string baseName(const std::string& path)
{
    std::string p = path;
    while (p.size() > 1 && p.back() == '/')
        p.pop_back();
    size_t slash = p.rfind('/');
    return slash == std::string::npos ? p : p.substr(slash + 1);
}

std::string withExtension(const std::string& name, const std::string& ext)
{
    size_t dot = name.rfind('.');
    std::string stem = dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
    return stem + "." + ext;
}

std::vector<std::string> soundFilesIn(const std::string& folder)
{
    DIR* dir = opendir(folder.c_str());
    if (!dir)
        throw CHostError("cannot read folder " + folder + ": " + std::strerror(errno));
    std::vector<std::string> files;
    std::string prefix = folder.back() == '/' ? folder : folder + "/";
    while (dirent* e = readdir(dir))
    {
        std::string name = e->d_name;
        struct stat st;
        if (name[0] != '.' && IsSoundFileName(name) && stat((prefix + name).c_str(), &st) == 0 &&
            S_ISREG(st.st_mode))
            files.push_back(prefix + name);
    }
    closedir(dir);
    std::sort(files.begin(), files.end());
    return files;
}

void ensureFolder(const std::string& dir)
{
    struct stat st;
    if (stat(dir.c_str(), &st) == 0)
    {
        if (!S_ISDIR(st.st_mode))
            throw CHostError("--out-dir " + dir + " is not a folder");
        return;
    }
    if (mkdir(dir.c_str(), 0777) != 0)
        throw CHostError("cannot create folder " + dir + ": " + std::strerror(errno));
}
} // namespace

bool IsSoundFileName(const std::string& name)
{
    static const char* const kReadable[] = {"wav",  "w64",  "rf64", "aif", "aiff",
                                            "aifc", "flac", "ogg",  "oga", "opus",
                                            "mp3",  "caf",  "au",   "snd", "bwf"};
    size_t dot = name.rfind('.');
    if (dot == std::string::npos)
        return false;
    std::string ext = name.substr(dot + 1);
    for (char& c : ext)
        c = (char)std::tolower((unsigned char)c);
    for (const char* known : kReadable)
        if (ext == known)
            return true;
    return false;
}

int SpoolStandardInput()
{
    struct stat st;
    if (fstat(STDIN_FILENO, &st) == 0 && S_ISREG(st.st_mode))
        return dup(STDIN_FILENO);
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/deesser-stdin.XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back(0);
    int fd = mkstemp(name.data());
    if (fd < 0)
        throw CHostError("cannot make a spool file for standard input in " + pattern + ": " +
                         std::strerror(errno));
    unlink(name.data());
    if (!CopyDescriptor(STDIN_FILENO, fd))
    {
        int err = errno;
        close(fd);
        throw CHostError(std::string("cannot spool standard input: ") + std::strerror(err));
    }
    lseek(fd, 0, SEEK_SET);
    return fd;
}

std::vector<FileJob> PlanJobs(const std::vector<std::string>& inputs, const std::string& output,
                              const std::string& outDir, const std::string& format)
{
    std::vector<FileJob> jobs;
    if (outDir.empty())
    {
        FileJob job;
        job.input = inputs.at(0);
        job.output = output;
        jobs.push_back(job);
    }
    else
    {
        std::string prefix = outDir.back() == '/' ? outDir : outDir + "/";
        std::set<std::string> names;
        for (const std::string& in : inputs)
        {
            if (in == "-")
                throw CHostError("standard input has no name to keep; use deesser render - OUT");
            struct stat st;
            std::vector<std::string> files;
            if (stat(in.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
                files = soundFilesIn(in);
            else
                files.push_back(in); // a missing file fails as its own job
            for (const std::string& f : files)
            {
                std::string name = baseName(f);
                if (!format.empty())
                    name = withExtension(name, format);
                if (!names.insert(name).second)
                    throw CHostError("two inputs would both be written to " + prefix + name);
                FileJob job;
                job.input = f;
                job.output = prefix + name;
                jobs.push_back(job);
            }
        }
        if (jobs.empty())
            throw CHostError("no sound files in the folders given");
        // Only a batch that can start gets its folder.
        ensureFolder(outDir);
    }
    for (FileJob& job : jobs)
        if (job.input == "-")
            job.inputFd = SpoolStandardInput();
    return jobs;
}

int RunJobs(const std::vector<FileJob>& jobs, int threads, const OutputChoices& out,
            const std::function<FileResult(const FileJob&)>& work)
{
    const bool single = jobs.size() == 1;
    bool soundOnStdout = false;
    for (const FileJob& job : jobs)
        soundOnStdout = soundOnStdout || job.output == "-";
    FILE* text = soundOnStdout ? stderr : stdout;
    if (threads <= 0)
        threads = (int)std::max(1u, std::thread::hardware_concurrency());
    threads = std::min<int>(threads, (int)jobs.size());

    std::mutex printing;
    std::atomic<size_t> next(0);
    std::atomic<int> failed(0);
    auto start = std::chrono::steady_clock::now();
    auto report = [&](const FileJob& job, const FileResult& r)
    {
        std::lock_guard<std::mutex> lock(printing);
        std::string where = single ? "" : job.input + ": ";
        for (const std::string& w : r.warnings)
            std::fprintf(stderr, "deesser: warning: %s%s\n", where.c_str(), w.c_str());
        if (!r.ok)
            std::fprintf(stderr, "deesser: %s%s\n", where.c_str(), r.error.c_str());
        if (out.json && !r.ok)
        {
            CJsonWriter j; // a failed file has its object too
            j.BeginObject().String("input", job.input).String("output", job.output);
            j.String("error", r.error).BeginArray("warnings");
            for (const std::string& w : r.warnings)
                j.String(nullptr, w);
            j.EndArray().EndObject();
            std::fprintf(text, "%s\n", j.Text().c_str());
        }
        else if (out.json && !r.json.empty())
            std::fprintf(text, "%s\n", r.json.c_str());
        else if (!out.quiet && r.ok)
            std::fputs(single ? r.summary.c_str() : (r.line + "\n").c_str(), text);
        std::fflush(text);
    };
    auto worker = [&]()
    {
        for (size_t i; (i = next++) < jobs.size();)
        {
            FileResult r;
            try
            {
                r = work(jobs[i]);
            }
            catch (const CHostError& e)
            {
                r.ok = false;
                r.error = e.what();
            }
            catch (const std::bad_alloc&)
            {
                r.ok = false;
                r.error = "out of memory";
            }
            if (!r.ok)
                ++failed;
            report(jobs[i], r);
        }
    };
    std::vector<std::thread> pool;
    for (int t = 1; t < threads; ++t)
        pool.emplace_back(worker);
    worker();
    for (std::thread& t : pool)
        t.join();

    if (single)
        return failed ? 1 : 0;
    double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (!out.quiet && !out.json)
        std::fprintf(text, "%zu files: %zu done, %d failed, %.1f s\n", jobs.size(),
                     jobs.size() - failed, failed.load(), seconds);
    return failed ? 2 : 0;
}
