// Calls mendkit.exe, bounds the time, checks the exit code, parses the answer, tells a failure.
//
//   CallMendkit <seconds> <full path of mendkit.exe> <command> [--name=value ...]
//
// Exit code: 0 answered, 1 mendkit tells a failure, 2 time-out, 3 no answer: not started, or not ended by itself.
// Needs .NET Framework 4.5 or later, nothing else: csc /r:System.Runtime.Serialization.dll CallMendkit.cs
// Copy the part above Program.
using System;
using System.Diagnostics;
using System.Globalization;
using System.IO;
using System.Runtime.Serialization;
using System.Runtime.Serialization.Json;
using System.Text;
using System.Text.RegularExpressions;
using System.Threading;

/// The command has failed. Message: for people, in the system's language.
public class MendkitFailure : Exception
{
    public readonly uint? Code;   // of Windows; null: none
    public readonly string Trail; // where in mendkit it happened, for its developers

    public static MendkitFailure In(string text)
    {
        string[] lines = text.TrimEnd('\n').Split('\n');
        int end = lines.Length;
        while (end > 0 && IsTrail(lines[end - 1]))
            --end;
        int begin = end;
        while (begin > 0 && !IsTrail(lines[begin - 1])) // above it is an earlier failure: the last one counts
            --begin;
        // The output of a utility that failed may look like anything, also like trails and messages.
        bool isUtility = false;
        for (int at = 0; at < end && !isUtility; ++at)
        {
            isUtility = Regex.IsMatch(lines[at], @"^Execute .* failed with error code -?\d+:") &&
                (at == 0 || lines[at - 1] == "" || IsTrail(lines[at - 1]));
            if (isUtility)
                begin = at;
        }
        string message = string.Join("\n", lines, begin, end - begin).Trim();
        Match code = Regex.Match(isUtility ? "" : message, @"\(Error code (\d+)\)");
        return new MendkitFailure(message, code.Success ? uint.Parse(code.Groups[1].Value) : (uint?)null,
            string.Join("\n", lines, end, lines.Length - end));
    }

    static bool IsTrail(string line)
    {
        return line.StartsWith("   at (", StringComparison.Ordinal);
    }

    MendkitFailure(string message, uint? code, string trail)
        : base(message)
    {
        Code = code;
        Trail = trail;
    }
}

/// mendkit was not started or not allowed to end, or this is no mendkit.
public class MendkitNoAnswer : Exception
{
    public MendkitNoAnswer(string message, Exception cause) : base(message, cause) { }
}

// The answers. A ulong holds every figure; "used" can be as large as 2^64 - 1.
[DataContract] public class Service
{
    [DataMember(IsRequired = true)] public string name;
    [DataMember] public string status;
}
[DataContract] public class Volume
{
    [DataMember(IsRequired = true)] public string volume;
    [DataMember(IsRequired = true)] public ulong total, free, used;
}
[DataContract] public class Resources
{
    [DataContract] public class Figures { [DataMember] public ulong? total, free, used; }
    [DataMember(IsRequired = true)] public Figures memory, swap;
}
[DataContract] public class Restart
{
    [DataMember(IsRequired = true)] public string message;
}

public static class Mendkit
{
    /// Returns the parsed answer, some seconds after the time limit at the latest. Throws MendkitFailure,
    /// TimeoutException (nothing is known about what mendkit has done) or MendkitNoAnswer.
    public static T Call<T>(string program, string[] arguments, TimeSpan limit)
    {
        var start = new ProcessStartInfo(program, string.Join(" ", Array.ConvertAll(arguments, Quoted)));
        start.UseShellExecute = false; // no shell takes part
        start.CreateNoWindow = true;
        start.RedirectStandardInput = start.RedirectStandardOutput = start.RedirectStandardError = true;
        var process = new Process { StartInfo = start };
        try { process.Start(); }
        catch (Exception cause) { throw new MendkitNoAnswer(program + " cannot be started: " + cause.Message, cause); }
        process.StandardInput.Close(); // empty; mendkit's utilities inherit it
        // While it runs: a full pipe would stop it. The bytes: StandardOutput would not take them for UTF-8.
        MemoryStream output = new MemoryStream(), errors = new MemoryStream();
        Thread[] readers = { Reader(process.StandardOutput, output), Reader(process.StandardError, errors) };
        if (!process.WaitForExit((int)limit.TotalMilliseconds))
        {
            // A query changes nothing and may be ended. Anything else is left to end by itself and must not be repeated
            // before: the panel's utility would run on without mendkit, and may fail in the middle of a repair.
            if (arguments.Length == 0 || !arguments[0].StartsWith("--get-", StringComparison.Ordinal))
                throw new TimeoutException("no answer within " + limit + "; it runs on as process " + process.Id);
            try { process.Kill(); }
            catch (InvalidOperationException) { } // it has just ended
            throw new TimeoutException("no answer within " + limit + "; it was ended");
        }
        foreach (Thread reader in readers)
            reader.Join(2000); // bounded: a process that was started at the same moment may hold the pipe open
        string text = Encoding.UTF8.GetString(output.ToArray()).Replace("\r\n", "\n");
        if (process.ExitCode == 1 && text.Trim() != "")
            throw MendkitFailure.In(text);
        // 0xC0000005: a fault, 0xC000013A: Ctrl+C, others, also 1 without a text: somebody has ended it
        if (process.ExitCode != 0)
            throw new MendkitNoAnswer(string.Format("mendkit ended without an answer: exit code 0x{0:X} {1}",
                process.ExitCode, Encoding.UTF8.GetString(errors.ToArray())), null);
        try
        {
            using (var document = new MemoryStream(Encoding.UTF8.GetBytes(text)))
                return (T)new DataContractJsonSerializer(typeof(T)).ReadObject(document);
        }
        catch (SerializationException cause) { throw new MendkitNoAnswer(cause.Message + ": " + text, cause); }
    }

    static Thread Reader(StreamReader from, Stream to)
    {
        var thread = new Thread(delegate()
        {
            try { from.BaseStream.CopyTo(to); }
            catch (IOException) { } // nothing more to be had
        });
        thread.IsBackground = true;
        thread.Start();
        return thread;
    }

    /// An argument as the called program's run time library reads it back. ProcessStartInfo.ArgumentList, which does
    /// this, is not in the .NET Framework.
    static string Quoted(string argument)
    {
        // Backslashes before a quotation mark, also the closing one, are doubled.
        return '"' + Regex.Replace(Regex.Replace(argument, @"(\\*)""", @"$1$1\"""), @"(\\+)\z", "$1$1") + '"';
    }
}

public static class Program
{
    static void Show(string program, string[] arguments, TimeSpan limit)
    {
        string command = arguments.Length > 0 ? arguments[0] : "";
        if (command.EndsWith("-disk-space", StringComparison.Ordinal))
        {
            foreach (Volume found in Mendkit.Call<Volume[]>(program, arguments, limit))
            {
                // A used beyond total is no figure: an account with a quota sees a smaller total.
                string used = found.used <= found.total ? found.used.ToString() : "unknown";
                Console.WriteLine("{0} {1} of {2} bytes free, used: {3}", found.volume, found.free, found.total, used);
            }
        }
        else if (command.EndsWith("-system-resources", StringComparison.Ordinal))
        {
            var answer = Mendkit.Call<Resources>(program, arguments, limit);
            Console.WriteLine("memory: " + Text(answer.memory));
            Console.WriteLine("swap: " + Text(answer.swap));
        }
        else if (command == "--reboot")
            Console.WriteLine(Mendkit.Call<Restart>(program, arguments, limit).message);
        else
        {
            var answer = Mendkit.Call<Service>(program, arguments, limit);
            Console.WriteLine("{0}: {1}", answer.name, answer.status ?? "unknown");
        }
    }

    static string Text(Resources.Figures of)
    {
        return string.Format("{0} of {1} bytes free", (object)of.free ?? "unknown", (object)of.total ?? "unknown");
    }

    public static int Main(string[] words)
    {
        // The console's own code page lacks letters.
        Console.SetOut(new StreamWriter(Console.OpenStandardOutput(), new UTF8Encoding(false)) { AutoFlush = true });
        Console.SetError(new StreamWriter(Console.OpenStandardError(), new UTF8Encoding(false)) { AutoFlush = true });
        try
        {
            var arguments = new string[words.Length - 2];
            Array.Copy(words, 2, arguments, 0, arguments.Length);
            Show(words[1], arguments, TimeSpan.FromSeconds(double.Parse(words[0], CultureInfo.InvariantCulture)));
            return 0;
        }
        catch (MendkitFailure failure) // decide by the exit code and failure.Code, never by words
        {
            string code = failure.Code.HasValue ? failure.Code.ToString() : "none";
            Console.Error.WriteLine("failure: {0}\ncode: {1}\n{2}", failure.Message, code, failure.Trail);
            return 1;
        }
        catch (TimeoutException timeout)
        {
            Console.Error.WriteLine("time-out: " + timeout.Message);
            return 2;
        }
        catch (Exception reason)
        {
            Console.Error.WriteLine("no answer: " + reason.Message);
            return 3;
        }
    }
}
