using System;
using System.Runtime.InteropServices;

namespace Qvjvm
{
    /// <summary>JNI's jvalue.</summary>
    [StructLayout(LayoutKind.Explicit, Size = 8)]
    internal struct JavaValue
    {
        [FieldOffset(0)] internal byte Boolean;
        [FieldOffset(0)] internal sbyte Byte;
        [FieldOffset(0)] internal ushort Char;
        [FieldOffset(0)] internal short Short;
        [FieldOffset(0)] internal int Int;
        [FieldOffset(0)] internal long Long;
        [FieldOffset(0)] internal float Float;
        [FieldOffset(0)] internal double Double;
        [FieldOffset(0)] internal IntPtr Reference;
    }

    /// <summary>
    /// The functions of the JNI table that this library calls, as delegates that are made once. Their places are part of
    /// JNI's binary interface. All threads of a Java VM have one table. Nothing here checks anything.
    /// </summary>
    internal sealed unsafe class JniTable
    {
        internal delegate IntPtr FindClassFn(IntPtr env, byte* name);
        internal delegate IntPtr ReflectFn(IntPtr env, IntPtr cls, IntPtr id, byte isStatic);
        internal delegate IntPtr PointerOfNothing(IntPtr env);
        internal delegate void VoidOfNothing(IntPtr env);
        internal delegate byte BooleanOfNothing(IntPtr env);
        internal delegate IntPtr PointerOfOne(IntPtr env, IntPtr reference);
        internal delegate void VoidOfOne(IntPtr env, IntPtr reference);
        internal delegate int IntOfOne(IntPtr env, IntPtr reference);
        internal delegate byte BooleanOfTwo(IntPtr env, IntPtr left, IntPtr right);
        internal delegate IntPtr GetIdFn(IntPtr env, IntPtr cls, byte* name, byte* signature);
        internal delegate IntPtr NewStringFn(IntPtr env, char* units, int length);
        internal delegate IntPtr NewObjectArrayFn(IntPtr env, int length, IntPtr elementClass, IntPtr initial);
        internal delegate IntPtr GetElementFn(IntPtr env, IntPtr array, int index);
        internal delegate void SetElementFn(IntPtr env, IntPtr array, int index, IntPtr value);
        internal delegate IntPtr NewArrayFn(IntPtr env, int length);
        internal delegate void RegionFn(IntPtr env, IntPtr array, int start, int count, void* values);

        private delegate byte CallBooleanFn(IntPtr env, IntPtr target, IntPtr id, JavaValue* arguments);
        private delegate sbyte CallByteFn(IntPtr env, IntPtr target, IntPtr id, JavaValue* arguments);
        private delegate ushort CallCharFn(IntPtr env, IntPtr target, IntPtr id, JavaValue* arguments);
        private delegate short CallShortFn(IntPtr env, IntPtr target, IntPtr id, JavaValue* arguments);
        private delegate int CallIntFn(IntPtr env, IntPtr target, IntPtr id, JavaValue* arguments);
        private delegate long CallLongFn(IntPtr env, IntPtr target, IntPtr id, JavaValue* arguments);
        private delegate float CallFloatFn(IntPtr env, IntPtr target, IntPtr id, JavaValue* arguments);
        private delegate double CallDoubleFn(IntPtr env, IntPtr target, IntPtr id, JavaValue* arguments);
        private delegate IntPtr CallReferenceFn(IntPtr env, IntPtr target, IntPtr id, JavaValue* arguments);
        private delegate void CallVoidFn(IntPtr env, IntPtr target, IntPtr id, JavaValue* arguments);
        private delegate byte GetBooleanFn(IntPtr env, IntPtr target, IntPtr id);
        private delegate sbyte GetByteFn(IntPtr env, IntPtr target, IntPtr id);
        private delegate ushort GetCharFn(IntPtr env, IntPtr target, IntPtr id);
        private delegate short GetShortFn(IntPtr env, IntPtr target, IntPtr id);
        private delegate int GetIntFn(IntPtr env, IntPtr target, IntPtr id);
        private delegate long GetLongFn(IntPtr env, IntPtr target, IntPtr id);
        private delegate float GetFloatFn(IntPtr env, IntPtr target, IntPtr id);
        private delegate double GetDoubleFn(IntPtr env, IntPtr target, IntPtr id);
        private delegate IntPtr GetReferenceFn(IntPtr env, IntPtr target, IntPtr id);
        private delegate void SetBooleanFn(IntPtr env, IntPtr target, IntPtr id, byte value);
        private delegate void SetByteFn(IntPtr env, IntPtr target, IntPtr id, sbyte value);
        private delegate void SetCharFn(IntPtr env, IntPtr target, IntPtr id, ushort value);
        private delegate void SetShortFn(IntPtr env, IntPtr target, IntPtr id, short value);
        private delegate void SetIntFn(IntPtr env, IntPtr target, IntPtr id, int value);
        private delegate void SetLongFn(IntPtr env, IntPtr target, IntPtr id, long value);
        private delegate void SetFloatFn(IntPtr env, IntPtr target, IntPtr id, float value);
        private delegate void SetDoubleFn(IntPtr env, IntPtr target, IntPtr id, double value);
        private delegate void SetReferenceFn(IntPtr env, IntPtr target, IntPtr id, IntPtr value);

        /// <summary>The primitive types in the order of the table.</summary>
        internal const string Primitives = "ZBCSIJFD";

        internal readonly FindClassFn FindClass;
        internal readonly ReflectFn ToReflectedMethod;
        internal readonly ReflectFn ToReflectedField;
        internal readonly PointerOfNothing ExceptionOccurred;
        internal readonly VoidOfNothing ExceptionClear;
        internal readonly BooleanOfNothing ExceptionCheck;
        internal readonly PointerOfOne NewGlobalRef;
        internal readonly VoidOfOne DeleteGlobalRef;
        internal readonly VoidOfOne DeleteLocalRef;
        internal readonly BooleanOfTwo IsSameObject;
        internal readonly PointerOfOne GetObjectClass;
        internal readonly BooleanOfTwo IsInstanceOf;
        internal readonly GetIdFn GetMethodId;
        internal readonly GetIdFn GetStaticMethodId;
        internal readonly GetIdFn GetFieldId;
        internal readonly GetIdFn GetStaticFieldId;
        internal readonly NewStringFn NewString;
        internal readonly IntOfOne GetStringLength;
        internal readonly RegionFn GetStringRegion;
        internal readonly IntOfOne GetArrayLength;
        internal readonly NewObjectArrayFn NewObjectArray;
        internal readonly GetElementFn GetObjectArrayElement;
        internal readonly SetElementFn SetObjectArrayElement;
        /// <summary>By the place of the element's type in <see cref="Primitives"/>, as the next two.</summary>
        internal readonly NewArrayFn[] NewArray = new NewArrayFn[8];
        internal readonly RegionFn[] GetRegion = new RegionFn[8];
        internal readonly RegionFn[] SetRegion = new RegionFn[8];

        private readonly CallReferenceFn newObject;
        private readonly Calls ofObjects;
        private readonly Calls ofClasses;

        internal JniTable(IntPtr env)
        {
            IntPtr table = Marshal.ReadIntPtr(env);
            FindClass = At<FindClassFn>(table, 6);
            ToReflectedMethod = At<ReflectFn>(table, 9);
            ToReflectedField = At<ReflectFn>(table, 12);
            ExceptionOccurred = At<PointerOfNothing>(table, 15);
            ExceptionClear = At<VoidOfNothing>(table, 17);
            NewGlobalRef = At<PointerOfOne>(table, 21);
            DeleteGlobalRef = At<VoidOfOne>(table, 22);
            DeleteLocalRef = At<VoidOfOne>(table, 23);
            IsSameObject = At<BooleanOfTwo>(table, 24);
            newObject = At<CallReferenceFn>(table, 30);
            GetObjectClass = At<PointerOfOne>(table, 31);
            IsInstanceOf = At<BooleanOfTwo>(table, 32);
            GetMethodId = At<GetIdFn>(table, 33);
            GetFieldId = At<GetIdFn>(table, 94);
            GetStaticMethodId = At<GetIdFn>(table, 113);
            GetStaticFieldId = At<GetIdFn>(table, 144);
            NewString = At<NewStringFn>(table, 163);
            GetStringLength = At<IntOfOne>(table, 164);
            GetArrayLength = At<IntOfOne>(table, 171);
            NewObjectArray = At<NewObjectArrayFn>(table, 172);
            GetObjectArrayElement = At<GetElementFn>(table, 173);
            SetObjectArrayElement = At<SetElementFn>(table, 174);
            for (int i = 0; i < Primitives.Length; ++i)
            {
                NewArray[i] = At<NewArrayFn>(table, 175 + i);
                GetRegion[i] = At<RegionFn>(table, 199 + i);
                SetRegion[i] = At<RegionFn>(table, 207 + i);
            }
            GetStringRegion = At<RegionFn>(table, 220);
            ExceptionCheck = At<BooleanOfNothing>(table, 228);
            ofObjects = new Calls(table, 36, 95, 104);
            ofClasses = new Calls(table, 116, 145, 154);
        }

        /// <summary>The function at a place of a table.</summary>
        internal static T At<T>(IntPtr table, int place)
        {
            return Marshal.GetDelegateForFunctionPointer<T>(Marshal.ReadIntPtr(table, place * IntPtr.Size));
        }

        internal IntPtr NewObject(IntPtr env, IntPtr cls, IntPtr id, JavaValue* arguments)
        {
            return newObject(env, cls, id, arguments);
        }

        internal JavaValue Call(IntPtr env, bool isStatic, IntPtr target, IntPtr id, char result, JavaValue* arguments)
        {
            Calls calls = isStatic ? ofClasses : ofObjects;
            JavaValue value = default(JavaValue);
            switch (result)
            {
                case 'Z': value.Boolean = calls.CallBoolean(env, target, id, arguments); break;
                case 'B': value.Byte = calls.CallByte(env, target, id, arguments); break;
                case 'C': value.Char = calls.CallChar(env, target, id, arguments); break;
                case 'S': value.Short = calls.CallShort(env, target, id, arguments); break;
                case 'I': value.Int = calls.CallInt(env, target, id, arguments); break;
                case 'J': value.Long = calls.CallLong(env, target, id, arguments); break;
                case 'F': value.Float = calls.CallFloat(env, target, id, arguments); break;
                case 'D': value.Double = calls.CallDouble(env, target, id, arguments); break;
                case 'V': calls.CallVoid(env, target, id, arguments); break;
                default: value.Reference = calls.CallReference(env, target, id, arguments); break;
            }
            return value;
        }

        internal JavaValue Get(IntPtr env, bool isStatic, IntPtr target, IntPtr id, char type)
        {
            Calls calls = isStatic ? ofClasses : ofObjects;
            JavaValue value = default(JavaValue);
            switch (type)
            {
                case 'Z': value.Boolean = calls.GetBoolean(env, target, id); break;
                case 'B': value.Byte = calls.GetByte(env, target, id); break;
                case 'C': value.Char = calls.GetChar(env, target, id); break;
                case 'S': value.Short = calls.GetShort(env, target, id); break;
                case 'I': value.Int = calls.GetInt(env, target, id); break;
                case 'J': value.Long = calls.GetLong(env, target, id); break;
                case 'F': value.Float = calls.GetFloat(env, target, id); break;
                case 'D': value.Double = calls.GetDouble(env, target, id); break;
                default: value.Reference = calls.GetReference(env, target, id); break;
            }
            return value;
        }

        internal void Set(IntPtr env, bool isStatic, IntPtr target, IntPtr id, char type, JavaValue value)
        {
            Calls calls = isStatic ? ofClasses : ofObjects;
            switch (type)
            {
                case 'Z': calls.SetBoolean(env, target, id, value.Boolean); break;
                case 'B': calls.SetByte(env, target, id, value.Byte); break;
                case 'C': calls.SetChar(env, target, id, value.Char); break;
                case 'S': calls.SetShort(env, target, id, value.Short); break;
                case 'I': calls.SetInt(env, target, id, value.Int); break;
                case 'J': calls.SetLong(env, target, id, value.Long); break;
                case 'F': calls.SetFloat(env, target, id, value.Float); break;
                case 'D': calls.SetDouble(env, target, id, value.Double); break;
                default: calls.SetReference(env, target, id, value.Reference); break;
            }
        }

        /// <summary>What there is for objects and again for classes. Of the three forms of each call it is the last,
        /// with an array of values.</summary>
        private sealed class Calls
        {
            internal readonly CallReferenceFn CallReference;
            internal readonly CallBooleanFn CallBoolean;
            internal readonly CallByteFn CallByte;
            internal readonly CallCharFn CallChar;
            internal readonly CallShortFn CallShort;
            internal readonly CallIntFn CallInt;
            internal readonly CallLongFn CallLong;
            internal readonly CallFloatFn CallFloat;
            internal readonly CallDoubleFn CallDouble;
            internal readonly CallVoidFn CallVoid;
            internal readonly GetReferenceFn GetReference;
            internal readonly GetBooleanFn GetBoolean;
            internal readonly GetByteFn GetByte;
            internal readonly GetCharFn GetChar;
            internal readonly GetShortFn GetShort;
            internal readonly GetIntFn GetInt;
            internal readonly GetLongFn GetLong;
            internal readonly GetFloatFn GetFloat;
            internal readonly GetDoubleFn GetDouble;
            internal readonly SetReferenceFn SetReference;
            internal readonly SetBooleanFn SetBoolean;
            internal readonly SetByteFn SetByte;
            internal readonly SetCharFn SetChar;
            internal readonly SetShortFn SetShort;
            internal readonly SetIntFn SetInt;
            internal readonly SetLongFn SetLong;
            internal readonly SetFloatFn SetFloat;
            internal readonly SetDoubleFn SetDouble;

            internal Calls(IntPtr table, int call, int get, int set)
            {
                CallReference = At<CallReferenceFn>(table, call);
                CallBoolean = At<CallBooleanFn>(table, call + 3);
                CallByte = At<CallByteFn>(table, call + 6);
                CallChar = At<CallCharFn>(table, call + 9);
                CallShort = At<CallShortFn>(table, call + 12);
                CallInt = At<CallIntFn>(table, call + 15);
                CallLong = At<CallLongFn>(table, call + 18);
                CallFloat = At<CallFloatFn>(table, call + 21);
                CallDouble = At<CallDoubleFn>(table, call + 24);
                CallVoid = At<CallVoidFn>(table, call + 27);
                GetReference = At<GetReferenceFn>(table, get);
                GetBoolean = At<GetBooleanFn>(table, get + 1);
                GetByte = At<GetByteFn>(table, get + 2);
                GetChar = At<GetCharFn>(table, get + 3);
                GetShort = At<GetShortFn>(table, get + 4);
                GetInt = At<GetIntFn>(table, get + 5);
                GetLong = At<GetLongFn>(table, get + 6);
                GetFloat = At<GetFloatFn>(table, get + 7);
                GetDouble = At<GetDoubleFn>(table, get + 8);
                SetReference = At<SetReferenceFn>(table, set);
                SetBoolean = At<SetBooleanFn>(table, set + 1);
                SetByte = At<SetByteFn>(table, set + 2);
                SetChar = At<SetCharFn>(table, set + 3);
                SetShort = At<SetShortFn>(table, set + 4);
                SetInt = At<SetIntFn>(table, set + 5);
                SetLong = At<SetLongFn>(table, set + 6);
                SetFloat = At<SetFloatFn>(table, set + 7);
                SetDouble = At<SetDoubleFn>(table, set + 8);
            }
        }
    }
}
