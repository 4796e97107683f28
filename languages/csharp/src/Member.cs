using System;
using System.Collections.Concurrent;

namespace Qvjvm
{
    internal enum MemberKind
    {
        Method,
        StaticMethod,
        Constructor,
        Field,
        StaticField
    }

    /// <summary>A method, constructor or field that was looked up; of a class that is kept, and so valid for ever.</summary>
    internal sealed unsafe class Member
    {
        internal readonly string Name;
        internal readonly MemberKind Kind;
        internal readonly IntPtr Id;
        internal readonly Signature Signature;
        /// <summary>The classes of the parameters that are references, or of the field; global references.</summary>
        internal readonly IntPtr[] Classes;
        internal readonly bool IsFinal;

        internal Member(IntPtr env, IntPtr cls, MemberKind kind, string name, string signature)
        {
            JniTable jni = Service.Jni;
            bool isField = kind == MemberKind.Field || kind == MemberKind.StaticField;
            if (kind != MemberKind.Constructor && (name.Length == 0 || name[0] == '<'))
            {
                throw new ArgumentException("\"" + name + "\" is no name of a method or field", "name");
            }
            Name = name;
            Kind = kind;
            Signature = isField ? Signature.OfField(signature) : Signature.OfMethod(signature);
            JniTable.GetIdFn getId = kind == MemberKind.Field ? jni.GetFieldId
                : kind == MemberKind.StaticField ? jni.GetStaticFieldId
                : kind == MemberKind.StaticMethod ? jni.GetStaticMethodId
                : jni.GetMethodId;
            Id = FindId(env, getId, cls, name, signature);
            Classes = new IntPtr[Signature.Parameters.Length];
            if (!isField && !Array.Exists(Signature.Parameters, Signature.IsReference)) return;
            JniTable.ReflectFn reflect = isField ? jni.ToReflectedField : jni.ToReflectedMethod;
            IntPtr reflected = reflect(env, cls, Id, IsStatic ? (byte)1 : (byte)0);
            Service.Check(env);
            try
            {
                if (isField) IsFinal = AskField(env, reflected);
                else AskParameters(env, reflected);
            }
            finally
            {
                Service.DeleteLocal(env, reflected);
            }
        }

        internal bool IsStatic
        {
            get { return Kind == MemberKind.StaticMethod || Kind == MemberKind.StaticField; }
        }

        /// <exception cref="JavaException">There is none of this name and signature.</exception>
        internal static IntPtr FindId(IntPtr env, JniTable.GetIdFn get, IntPtr cls, string name, string signature)
        {
            fixed (byte* nameBytes = Service.ModifiedUtf8(name), signatureBytes = Service.ModifiedUtf8(signature))
            {
                IntPtr id = get(env, cls, nameBytes, signatureBytes);
                Service.Check(env);
                return id;
            }
        }

        private bool AskField(IntPtr env, IntPtr reflected)
        {
            const int Final = 0x10;
            if (Signature.IsReference(Signature.Result))
            {
                Classes[0] = Service.Globalize(env, Roots.Ask(env, reflected, Roots.GetFieldType));
            }
            int modifiers = Service.Jni.Call(env, false, reflected, Roots.GetModifiers, 'I', null).Int;
            Service.Check(env);
            return (modifiers & Final) != 0;
        }

        private void AskParameters(IntPtr env, IntPtr reflected)
        {
            IntPtr types = Roots.Ask(env, reflected, Roots.GetParameterTypes);
            try
            {
                for (int i = 0; i < Classes.Length; ++i)
                {
                    if (!Signature.IsReference(Signature.Parameters[i])) continue;
                    IntPtr type = Service.Jni.GetObjectArrayElement(env, types, i);
                    Service.Check(env);
                    Classes[i] = Service.Globalize(env, type);
                }
            }
            finally
            {
                Service.DeleteLocal(env, types);
            }
        }
    }

    /// <summary>A class that was used, and its members that were. Kept for ever, as are their ids.</summary>
    internal sealed class ClassInfo
    {
        private static readonly ConcurrentDictionary<int, ClassInfo> ByHash = new ConcurrentDictionary<int, ClassInfo>();
        private static readonly ConcurrentDictionary<string, ClassInfo> ByName =
            new ConcurrentDictionary<string, ClassInfo>(StringComparer.Ordinal);

        /// <summary>A global reference.</summary>
        internal readonly IntPtr Class;

        private readonly ClassInfo next; // of the same hash
        private readonly ConcurrentDictionary<Key, Member> members = new ConcurrentDictionary<Key, Member>();

        // The class of int: HotSpot must not be asked for its fields.
        private readonly bool isPrimitive;

        private unsafe ClassInfo(IntPtr env, IntPtr cls, ClassInfo next)
        {
            Class = cls;
            this.next = next;
            isPrimitive = Service.Jni.Call(env, false, cls, Roots.IsPrimitive, 'Z', null).Boolean != 0;
            Service.Check(env);
        }

        /// <summary>Of a class by any reference to it, which stays.</summary>
        internal static ClassInfo Of(IntPtr env, IntPtr cls)
        {
            int hash = Roots.Hash(env, cls);
            ByHash.TryGetValue(hash, out ClassInfo first);
            ClassInfo found = Find(env, first, cls);
            if (found != null) return found;
            lock (ByHash)
            {
                ByHash.TryGetValue(hash, out first);
                found = Find(env, first, cls);
                if (found != null) return found;
                found = new ClassInfo(env, Service.NewGlobal(env, cls), first);
                ByHash[hash] = found;
                return found;
            }
        }

        /// <summary>By name, "java.lang.String" or "java/lang/String". One that is not there is looked for again.</summary>
        internal static ClassInfo Named(IntPtr env, string name)
        {
            if (name == null) throw new ArgumentNullException("name");
            if (ByName.TryGetValue(name, out ClassInfo found)) return found;
            IntPtr cls = Service.FindClass(env, name.Replace('.', '/'));
            try
            {
                return ByName[name] = Of(env, cls);
            }
            finally
            {
                Service.DeleteLocal(env, cls);
            }
        }

        internal Member Find(IntPtr env, MemberKind kind, string name, string signature)
        {
            if (name == null) throw new ArgumentNullException("name");
            if (signature == null) throw new ArgumentNullException("signature");
            if (isPrimitive) throw new ArgumentException("a primitive type has no member " + name);
            Key key = new Key(kind, name, signature);
            if (!members.TryGetValue(key, out Member member))
            {
                // Another thread may look it up too, and one of both is kept.
                member = members.GetOrAdd(key, new Member(env, Class, kind, name, signature));
            }
            return member;
        }

        private static ClassInfo Find(IntPtr env, ClassInfo first, IntPtr cls)
        {
            ClassInfo each = first;
            while (each != null && Service.Jni.IsSameObject(env, each.Class, cls) == 0) each = each.next;
            return each;
        }

        private struct Key : IEquatable<Key>
        {
            private readonly MemberKind kind;
            private readonly string name;
            private readonly string signature;

            internal Key(MemberKind kind, string name, string signature)
            {
                this.kind = kind;
                this.name = name;
                this.signature = signature;
            }

            public bool Equals(Key other)
            {
                return kind == other.kind && name == other.name && signature == other.signature;
            }

            public override bool Equals(object other)
            {
                return other is Key && Equals((Key)other);
            }

            public override int GetHashCode()
            {
                return (name.GetHashCode() * 31 + signature.GetHashCode()) * 31 + (int)kind;
            }
        }
    }
}
