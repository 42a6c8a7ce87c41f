// Calls Quillon and reads its result as typed hits:
//     Caller PROGRAM FILELIST QUERY OUTPUT.json [METHOD [OPTION ...]]
// PROGRAM is a path, or a name to be found through PATH.
// Build with Mono: mcs -r:System.Runtime.Serialization Caller.cs. .NET brings the same classes.
using System;
using System.Collections.Generic;
using System.ComponentModel;
using System.Diagnostics;
using System.Globalization;
using System.IO;
using System.Linq;
using System.Runtime.Serialization;
using System.Runtime.Serialization.Json;
using System.Text;
using System.Text.RegularExpressions;

[DataContract]
public class Hit
{
    [DataMember(Name = "name")] public string Name;
    [DataMember(Name = "code")] public string Code;
    [DataMember(Name = "handle")] public string Handle;
    [DataMember(Name = "index")] public long Index; // the row in the library, from 0
    [DataMember(Name = "dwgPath")] public string DwgPath;         // a hit has one of both: the path
    [DataMember(Name = "dwgPathHash")] public string DwgPathHash; // or the encodings file's folder
    [DataMember(Name = "distOrScore")] public double? DistOrScore; // null: not finite, also below
    [DataMember(Name = "shapeWeight")] public double? ShapeWeight; // both 0 but for adaptive
    [DataMember(Name = "textWeight")] public double? TextWeight;
}

[DataContract]
public class Stats
{
    [DataMember(Name = "failedDrawings")] public ulong FailedDrawings;
}

[DataContract]
public class Result
{
    [DataMember(Name = "blocks")] public List<Hit> Hits; // null without hits, until Search mends it
    [DataMember(Name = "stats")] public Stats Stats;
    public string Method; // that really ran: "shape", whatever was asked for, without a usable text
}

/// With the program's own text. Status 255 is a missing path, 1 every other failure.
public class SearchFailed : Exception
{
    public readonly int Status;
    public SearchFailed(int status, string text) : base(text) { Status = status; }
}

public static class Caller
{
    static readonly Dictionary<string, string> methods = new Dictionary<string, string>
    {
        ["Adaptive"] = "adaptive", ["ByShape"] = "shape", ["ByText"] = "text", ["Simple"] = "simple"
    };

    /// One query. Relative paths, also those in the list, start at the current folder.
    public static Result Search(string program, string fileList, string query, string output,
                                string method = "adaptive", IEnumerable<string> options = null)
    {
        var start = StartOf(program, fileList, query, output, method, options);
        using (Process process = Process.Start(start))
        {
            string console = process.StandardOutput.ReadToEnd();
            process.WaitForExit();
            return ResultOf(process.ExitCode, console, output);
        }
    }

    /// How the search is started. AsyncCaller.cs starts it, too.
    public static ProcessStartInfo StartOf(string program, string fileList, string query,
                                           string output, string method,
                                           IEnumerable<string> options)
    {
        string[] own = { "/filelist", fileList, "/encode", query, "/output", output,
                         "/method", method };
        return new ProcessStartInfo(program)
        {
            UseShellExecute = false,
            RedirectStandardOutput = true,
            // The console may hold raw bytes of a broken file: they become replacement characters.
            StandardOutputEncoding = new UTF8Encoding(false),
            // Mono has ArgumentList too, but starts the process without it.
            Arguments = string.Join(" ", own.Concat(options ?? new string[0]).Select(Quoted))
        };
    }

    /// What a search that has ended gives. Throws SearchFailed for a status other than 0.
    public static Result ResultOf(int exitCode, string console, string output)
    {
        // The last line may have no line feed.
        string[] lines = console.TrimEnd('\r', '\n').Replace("\r\n", "\n").Split('\n');
        if (exitCode != 0)
            // -1 is seen as 255 on Linux.
            throw new SearchFailed(exitCode == -1 ? 255 : exitCode,
                                   Behind("exception: ", lines.Last()));

        Result result;
        using (Stream file = File.OpenRead(output))
            result = (Result)new DataContractJsonSerializer(typeof(Result)).ReadObject(file);
        result.Hits = result.Hits ?? new List<Hit>();
        const string prefix = "     queryType: ";
        string ran = lines.First(line => line.StartsWith(prefix, StringComparison.Ordinal));
        result.Method = methods[Behind(prefix, ran)];
        return result;
    }

    /// In double quotes; quotes inside, and backslashes before a quote, get a backslash.
    static string Quoted(string argument)
    {
        string inside = Regex.Replace(argument, @"(\\*)""", @"$1$1\""");
        return "\"" + Regex.Replace(inside, @"(\\+)\z", "$1$1") + "\"";
    }

    static string Behind(string prefix, string line)
    {
        return line.StartsWith(prefix, StringComparison.Ordinal) ? line.Substring(prefix.Length)
                                                                 : line;
    }

    static string NumberText(double? number)
    {
        return number.HasValue ? number.Value.ToString("F4", CultureInfo.InvariantCulture)
                               : "not finite";
    }

    static int Main(string[] words)
    {
        Console.OutputEncoding = new UTF8Encoding(false);
        if (words.Length < 4)
        {
            Console.Error.WriteLine(
                "caller PROGRAM FILELIST QUERY OUTPUT.json [METHOD [OPTION ...]]");
            return 2;
        }
        string method = words.Length > 4 ? words[4] : "adaptive";
        Result result;
        try
        {
            result = Search(words[0], words[1], words[2], words[3], method, words.Skip(5));
        }
        catch (SearchFailed failure)
        {
            Console.WriteLine($"failed with status {failure.Status}: {failure.Message}");
            return 1;
        }
        catch (Win32Exception)
        {
            Console.WriteLine($"cannot start {words[0]}");
            return 1;
        }
        if (result.Method != method)
            Console.WriteLine($"asked for {method}, ran {result.Method}");
        Console.WriteLine($"{result.Hits.Count} hits, "
                          + $"{result.Stats.FailedDrawings} drawings failed");
        foreach (Hit hit in result.Hits)
            Console.WriteLine(string.Join(" | ", hit.Name, hit.Code, hit.Handle, hit.Index,
                                          hit.DwgPath ?? hit.DwgPathHash,
                                          NumberText(hit.DistOrScore), NumberText(hit.ShapeWeight),
                                          NumberText(hit.TextWeight)));
        return 0;
    }
}
