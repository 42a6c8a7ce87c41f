// Starts searches without waiting for them, and cancels them:
//     AsyncCaller PROGRAM FILELIST FOLDER SECONDS QUERY ...
// Every query's result goes to FOLDER/<name of the query>.json. Searches that have not ended after so
// many seconds are cancelled.
// Build with Mono, together with Caller.cs:
//     mcs -r:System.Runtime.Serialization -main:AsyncCaller AsyncCaller.cs Caller.cs
using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.Globalization;
using System.IO;
using System.Linq;
using System.Text;
using System.Threading;
using System.Threading.Tasks;

public static class AsyncCaller
{
    /// One query, as Caller.Search, without a waiting thread. The output appears whole, or not at all
    /// when the search fails or is cancelled; then the task ends as cancelled, and the program with it.
    public static async Task<Result> SearchAsync(
        string program, string fileList, string query, string output, string method = "adaptive",
        IEnumerable<string> options = null,
        CancellationToken cancellation = default(CancellationToken))
    {
        cancellation.ThrowIfCancellationRequested();
        string partial = output + "." + Guid.NewGuid().ToString("N") + ".json";
        try
        {
            using (Process process = Process.Start(
                       Caller.StartOf(program, fileList, query, partial, method, options)))
            using (cancellation.Register(() => Kill(process)))
            {
                // The program has ended, or is about to, when its console is at its end.
                string console = await process.StandardOutput.ReadToEndAsync();
                process.WaitForExit();
                cancellation.ThrowIfCancellationRequested();
                Result result = Caller.ResultOf(process.ExitCode, console, partial);
                if (File.Exists(output))
                    File.Delete(output);
                File.Move(partial, output);
                return result;
            }
        }
        finally
        {
            File.Delete(partial); // no mistake when there is none
        }
    }

    static void Kill(Process process)
    {
        try
        {
            process.Kill();
        }
        catch (InvalidOperationException)
        {
            // It has ended by itself.
        }
    }

    /// The line to print for a query, whatever became of it.
    static async Task<string> Answer(string query, Task<Result> search)
    {
        try
        {
            Result result = await search;
            return query + ": " + result.Hits.Count + " hits by " + result.Method;
        }
        catch (OperationCanceledException)
        {
            return query + ": cancelled";
        }
        catch (SearchFailed failure)
        {
            return query + ": failed with status " + failure.Status + ": " + failure.Message;
        }
    }

    static async Task<int> SearchAll(string[] words, CancellationToken cancellation)
    {
        Task<string>[] answers = words.Skip(4).Select(
            query => Answer(query, SearchAsync(
                words[0], words[1], query,
                Path.Combine(words[2], Path.GetFileNameWithoutExtension(query) + ".json"),
                cancellation: cancellation))).ToArray();
        foreach (Task<string> answer in answers)
            Console.WriteLine(await answer);
        return cancellation.IsCancellationRequested ? 1 : 0;
    }

    static int Main(string[] words)
    {
        Console.OutputEncoding = new UTF8Encoding(false);
        if (words.Length < 5)
        {
            Console.Error.WriteLine("usage: AsyncCaller PROGRAM FILELIST FOLDER SECONDS QUERY ...");
            return 2;
        }
        TimeSpan limit = TimeSpan.FromSeconds(double.Parse(words[3], CultureInfo.InvariantCulture));
        using (var source = new CancellationTokenSource(limit))
            return SearchAll(words, source.Token).GetAwaiter().GetResult();
    }
}
