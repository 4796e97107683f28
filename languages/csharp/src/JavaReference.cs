using System;
using System.Runtime.InteropServices;
using System.Threading;

namespace Qvjvm
{
    /// <summary>
    /// Owns a global reference. Disposed of, it is deleted at once. Forgotten, it is put on a list that the next call into
    /// Java empties: so the finalizer's thread never joins the Java VM and never waits for it.
    /// </summary>
    internal sealed class JavaReference : SafeHandle
    {
        private static JavaReference forgotten;
        private static long live;

        private JavaReference next;
        private bool finalized;

        /// <summary>Takes over a global reference.</summary>
        internal JavaReference(IntPtr global) : base(IntPtr.Zero, true)
        {
            SetHandle(global);
            Interlocked.Increment(ref live);
        }

        /// <summary>References that are not deleted yet.</summary>
        internal static long Live
        {
            get { return Interlocked.Read(ref live); }
        }

        public override bool IsInvalid
        {
            get { return handle == IntPtr.Zero; }
        }

        /// <summary>Deletes what was forgotten. The calling thread has joined the Java VM.</summary>
        internal static void DeleteForgotten(IntPtr env)
        {
            if (Volatile.Read(ref forgotten) == null) return;
            for (JavaReference each = Interlocked.Exchange(ref forgotten, null); each != null; each = each.next)
            {
                Service.Jni.DeleteGlobalRef(env, each.handle);
                Interlocked.Decrement(ref live);
            }
        }

        protected override void Dispose(bool disposing)
        {
            finalized = !disposing;
            base.Dispose(disposing);
        }

        protected override bool ReleaseHandle()
        {
            if (!finalized)
            {
                Service.DeleteGlobalRef(handle);
                Interlocked.Decrement(ref live);
                return true;
            }
            JavaReference first;
            do
            {
                first = Volatile.Read(ref forgotten);
                next = first;
            }
            while (Interlocked.CompareExchange(ref forgotten, this, first) != first);
            return true;
        }
    }
}
