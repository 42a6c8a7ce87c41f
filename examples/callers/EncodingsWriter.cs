// Writes encodings files as MessagePack with 32-bit floats, the format that Quillon loads fastest beside
// CBOR, without a third-party package:
//     EncodingsWriter OUTPUT.msgpack NAME CODE HANDLE [NAME CODE HANDLE ...]
// writes blocks with made-up vectors. A program of your own calls Encodings.Write with its blocks.
// Build with Mono: mcs EncodingsWriter.cs
using System;
using System.Collections.Generic;
using System.IO;
using System.Text;

public class EncodedBlock
{
    public string Name, Code, Handle; // a name with a * would shift the code: Write replaces it by _
    public float[] Shape; // 512 numbers; Write scales both vectors to length 1
    public float[] Text;  // 384 numbers
}

public static class Encodings
{
    const int ShapeWidth = 512, TextWidth = 384;

    /// Writes the blocks of one drawing. The file is complete or, after an exception, not there.
    /// Throws ArgumentException for a block that Quillon would leave out or never find.
    public static void Write(string path, IReadOnlyList<EncodedBlock> blocks)
    {
        foreach (EncodedBlock block in blocks)
            Check(block);
        string partial = path + ".partial";
        using (FileStream file = File.Create(partial))
        using (var buffered = new BufferedStream(file, 1 << 16))
        {
            buffered.WriteByte(0x83); // a map of three members
            WriteText(buffered, "blocks");
            WriteArrayHead(buffered, blocks.Count);
            foreach (EncodedBlock block in blocks)
                WriteText(buffered, block.Name.Replace('*', '_') + "*" + block.Code + "*"
                                    + block.Handle);
            WriteText(buffered, "shape");
            WriteArrayHead(buffered, blocks.Count);
            foreach (EncodedBlock block in blocks)
                WriteVector(buffered, block.Shape);
            WriteText(buffered, "text");
            WriteArrayHead(buffered, blocks.Count);
            foreach (EncodedBlock block in blocks)
                WriteVector(buffered, block.Text);
        }
        if (File.Exists(path))
            File.Delete(path);
        File.Move(partial, path);
    }

    static void Check(EncodedBlock block)
    {
        if (block.Code.Length == 0 || block.Code.Contains("*") || block.Handle.Contains("*"))
            throw new ArgumentException("block " + block.Name
                                        + ": the code is empty, or the code or handle has a *");
        CheckVector(block.Name, "shape", block.Shape, ShapeWidth);
        CheckVector(block.Name, "text", block.Text, TextWidth);
    }

    static void CheckVector(string name, string side, float[] vector, int width)
    {
        if (vector.Length != width)
            throw new ArgumentException("block " + name + ": " + side + " has " + vector.Length
                                        + " numbers, not " + width);
        double length = Length(vector);
        if (length == 0 || double.IsNaN(length) || double.IsInfinity(length))
            throw new ArgumentException("block " + name + ": " + side
                                        + " is all zeros or not finite");
    }

    static double Length(float[] vector)
    {
        double sum = 0;
        foreach (float number in vector)
            sum += (double)number * number;
        return Math.Sqrt(sum);
    }

    static void WriteVector(Stream stream, float[] vector)
    {
        WriteArrayHead(stream, vector.Length);
        double length = Length(vector);
        foreach (float number in vector)
        {
            stream.WriteByte(0xCA); // a 32-bit float, most significant byte first
            WriteReversed(stream, BitConverter.GetBytes((float)(number / length)));
        }
    }

    static void WriteText(Stream stream, string text)
    {
        byte[] utf8 = new UTF8Encoding(false, true).GetBytes(text);
        stream.WriteByte(0xDB); // a text with 4 bytes of length
        WriteReversed(stream, BitConverter.GetBytes(utf8.Length));
        stream.Write(utf8, 0, utf8.Length);
    }

    static void WriteArrayHead(Stream stream, int count)
    {
        stream.WriteByte(0xDD); // an array with 4 bytes of count
        WriteReversed(stream, BitConverter.GetBytes(count));
    }

    /// Big-endian, on machines that are little-endian, as all that run Windows are.
    static void WriteReversed(Stream stream, byte[] bytes)
    {
        if (BitConverter.IsLittleEndian)
            Array.Reverse(bytes);
        stream.Write(bytes, 0, bytes.Length);
    }
}

public static class EncodingsWriter
{
    static float[] MadeUp(int width, int place)
    {
        var vector = new float[width];
        vector[place] = 3;
        vector[place + 1] = 4;
        return vector;
    }

    static int Main(string[] words)
    {
        if (words.Length < 4 || words.Length % 3 != 1)
        {
            Console.Error.WriteLine("usage: EncodingsWriter OUTPUT.msgpack NAME CODE HANDLE ...");
            return 2;
        }
        var blocks = new List<EncodedBlock>();
        for (int i = 1; i < words.Length; i += 3)
            blocks.Add(new EncodedBlock { Name = words[i], Code = words[i + 1],
                                          Handle = words[i + 2],
                                          Shape = MadeUp(512, i / 3), Text = MadeUp(384, i / 3) });
        try
        {
            Encodings.Write(words[0], blocks);
        }
        catch (ArgumentException mistake)
        {
            Console.Error.WriteLine(mistake.Message);
            return 1;
        }
        return 0;
    }
}
