using System;

namespace Qvjvm
{
    /// <summary>
    /// A Java array that stays in Java, for reading and writing parts of it. Whole ones come as .NET arrays, which are copies:
    /// Call&lt;byte[]&gt;, or <see cref="JavaObject.As{T}"/>.
    /// </summary>
    public sealed class JavaArray : JavaObject
    {
        private readonly string type; // of an element, a reference's is Object's
        private readonly IntPtr elements;

        /// <param name="env">The thread's environment.</param>
        /// <param name="array">The array, by any reference, which stays.</param>
        /// <param name="kind">The first letter of the elements' type.</param>
        /// <param name="elements">The elements' class.</param>
        internal JavaArray(IntPtr env, IntPtr array, char kind, IntPtr elements) : base(env, array)
        {
            bool isPrimitive = JniTable.Primitives.IndexOf(kind) >= 0;
            type = isPrimitive ? kind.ToString() : "Ljava/lang/Object;";
            this.elements = isPrimitive ? IntPtr.Zero : ClassInfo.Of(env, elements).Class;
            Use use = new Use(this);
            Length = Service.Jni.GetArrayLength(env, use.Target);
            use.End();
        }

        /// <summary>How many elements it has.</summary>
        public int Length { get; private set; }

        /// <summary>Reads an element.</summary>
        /// <typeparam name="T">What comes; see <see cref="JavaObject"/>.</typeparam>
        /// <param name="index">From 0.</param>
        /// <returns>The element. A JavaObject is the caller's to dispose of.</returns>
        /// <exception cref="IndexOutOfRangeException">There is no such element.</exception>
        /// <exception cref="ArgumentException">The array's elements can be no T.</exception>
        /// <exception cref="InvalidCastException">This element is no T.</exception>
        /// <exception cref="ObjectDisposedException">This object was disposed of.</exception>
        public unsafe T Get<T>(int index)
        {
            Use use = new Use(this);
            try
            {
                Reading.Check(typeof(T), type);
                CheckIndex(index);
                JavaValue value = default(JavaValue);
                if (elements == IntPtr.Zero)
                {
                    Service.Jni.GetRegion[JniTable.Primitives.IndexOf(type[0])](use.Env, use.Target, index, 1, &value);
                }
                else
                {
                    value.Reference = Service.Jni.GetObjectArrayElement(use.Env, use.Target, index);
                }
                Service.Check(use.Env);
                return Reading.Take<T>(use.Env, value, type);
            }
            finally
            {
                use.End();
            }
        }

        /// <summary>Writes an element.</summary>
        /// <param name="index">From 0.</param>
        /// <param name="value">The value; see <see cref="JavaObject"/>.</param>
        /// <exception cref="IndexOutOfRangeException">There is no such element.</exception>
        /// <exception cref="ArgumentException">The value does not fit the array's elements.</exception>
        /// <exception cref="ObjectDisposedException">This object or the value was disposed of.</exception>
        public unsafe void Set(int index, object value)
        {
            Use use = new Use(this);
            Passed passed = default(Passed);
            try
            {
                CheckIndex(index);
                passed.Set(use.Env, value, type, elements, new Place(null, 0));
                if (elements == IntPtr.Zero)
                {
                    JavaValue element = passed.Value;
                    Service.Jni.SetRegion[JniTable.Primitives.IndexOf(type[0])](use.Env, use.Target, index, 1, &element);
                }
                else
                {
                    Service.Jni.SetObjectArrayElement(use.Env, use.Target, index, passed.Value.Reference);
                }
                Service.Check(use.Env);
            }
            finally
            {
                passed.GiveBack(use.Env);
                use.End();
            }
        }

        /// <summary>Copies elements of a primitive type to a .NET array of that type.</summary>
        /// <param name="index">The first element.</param>
        /// <param name="destination">The array; byte[] or sbyte[] for Java's bytes.</param>
        /// <param name="destinationIndex">Where the first element goes.</param>
        /// <param name="count">How many.</param>
        /// <exception cref="ArgumentNullException">There is no destination.</exception>
        /// <exception cref="ArgumentException">The arrays are not of the same primitive type.</exception>
        /// <exception cref="ArgumentOutOfRangeException">One of the arrays has not so many elements.</exception>
        /// <exception cref="ObjectDisposedException">This object was disposed of.</exception>
        public void CopyTo(int index, Array destination, int destinationIndex, int count)
        {
            Copy(index, destination, destinationIndex, count, Service.Jni.GetRegion);
        }

        /// <summary>Copies elements of a .NET array of the same primitive type to this array.</summary>
        /// <param name="index">Where the first element goes.</param>
        /// <param name="source">The array; byte[] or sbyte[] for Java's bytes.</param>
        /// <param name="sourceIndex">Its first element.</param>
        /// <param name="count">How many.</param>
        /// <exception cref="ArgumentNullException">There is no source.</exception>
        /// <exception cref="ArgumentException">The arrays are not of the same primitive type.</exception>
        /// <exception cref="ArgumentOutOfRangeException">One of the arrays has not so many elements.</exception>
        /// <exception cref="ObjectDisposedException">This object was disposed of.</exception>
        public void CopyFrom(int index, Array source, int sourceIndex, int count)
        {
            Copy(index, source, sourceIndex, count, Service.Jni.SetRegion);
        }

        private unsafe void Copy(int index, Array array, int arrayIndex, int count, JniTable.RegionFn[] regions)
        {
            if (array == null) throw new ArgumentNullException("array");
            int primitive = array.Rank == 1 ? Primitive.IndexOf(array.GetType().GetElementType()) : -1;
            if (primitive < 0 || JniTable.Primitives[primitive] != type[0])
            {
                throw new ArgumentException("a " + array.GetType() + " takes no elements of the type " + type, "array");
            }
            if (count < 0 || index < 0 || index > Length - count) throw new ArgumentOutOfRangeException("index");
            if (arrayIndex < 0 || arrayIndex > array.Length - count) throw new ArgumentOutOfRangeException("arrayIndex");
            Use use = new Use(this);
            try
            {
                using (Pinned pinned = new Pinned(array))
                {
                    byte* first = (byte*)pinned.First + (long)arrayIndex * Size(type[0]);
                    regions[primitive](use.Env, use.Target, index, count, first);
                }
                Service.Check(use.Env);
            }
            finally
            {
                use.End();
            }
        }

        private static int Size(char type)
        {
            switch (type)
            {
                case 'Z': case 'B': return 1;
                case 'C': case 'S': return 2;
                case 'I': case 'F': return 4;
                default: return 8;
            }
        }

        private void CheckIndex(int index)
        {
            if (index >= 0 && index < Length) return;
            throw new IndexOutOfRangeException("there is no element " + index + " among " + Length);
        }
    }
}
