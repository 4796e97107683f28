using System;
using System.Collections.Generic;

namespace Qvjvm
{
    /// <summary>The types of a method, "(ILjava/lang/String;)V", or of a field, "[I", in JNI's form.</summary>
    internal sealed class Signature
    {
        internal readonly string[] Parameters;
        internal readonly string Result;

        private Signature(string[] parameters, string result)
        {
            Parameters = parameters;
            Result = result;
        }

        internal static Signature OfMethod(string text)
        {
            if (text == null) throw new ArgumentNullException("signature");
            if (text.Length == 0 || text[0] != '(') throw Wrong(text, "it does not begin with '('");
            List<string> parameters = new List<string>();
            int at = 1;
            while (at < text.Length && text[at] != ')') parameters.Add(Take(text, ref at));
            if (at++ >= text.Length) throw Wrong(text, "there is no ')'");
            string result = "V";
            if (at >= text.Length || text[at] != 'V') result = Take(text, ref at);
            else ++at;
            if (at != text.Length) throw Wrong(text, "something follows the result");
            return new Signature(parameters.ToArray(), result);
        }

        internal static Signature OfField(string text)
        {
            if (text == null) throw new ArgumentNullException("signature");
            int at = 0;
            string type = Take(text, ref at);
            if (at != text.Length) throw Wrong(text, "something follows the type");
            return new Signature(new[] { type }, type);
        }

        internal static bool IsReference(string type)
        {
            return type[0] == 'L' || type[0] == '[';
        }

        private static string Take(string text, ref int at)
        {
            int start = at;
            while (at < text.Length && text[at] == '[') ++at;
            if (at - start > 255) throw Wrong(text, "an array has at most 255 dimensions");
            if (at >= text.Length) throw Wrong(text, "a type is missing at its end");
            char kind = text[at++];
            if (kind == 'L')
            {
                int end = text.IndexOf(';', at);
                if (end < 0) throw Wrong(text, "the name of a class has no ';'");
                if (end == at) throw Wrong(text, "the name of a class is empty");
                if (text.IndexOfAny(new[] { '.', '[', '(', ')' }, at, end - at) >= 0)
                {
                    throw Wrong(text, "a class is named as in \"Ljava/lang/String;\"");
                }
                at = end + 1;
            }
            else if (JniTable.Primitives.IndexOf(kind) < 0)
            {
                throw Wrong(text, "'" + kind + "' is no type");
            }
            return text.Substring(start, at - start);
        }

        private static ArgumentException Wrong(string text, string why)
        {
            return new ArgumentException("the signature \"" + text + "\" is wrong: " + why, "signature");
        }
    }
}
