import java.io.IOException;
import java.lang.reflect.Constructor;
import java.lang.reflect.Field;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Comparator;
import java.util.HashSet;
import java.util.List;
import java.util.Set;
import java.util.concurrent.Callable;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.TimeoutException;
import java.util.stream.Collectors;

/**
 * Writes a C++ program that calls into as many classes as it can through headers of qvjvm-bind. What each call gives is
 * asked of this Java by reflection, twice, and only what is the same both times is expected.
 * Usage: WriteCalls HEADERS FOLDER WORDS..., files with names that C++ has for itself.
 */
public final class WriteCalls {
    private static final int MEMBERS_OF_A_CLASS = 4;
    private static final int CLASSES_OF_A_PART = 50;
    /** Their results belong to the process, the thread or the day; some of them never return. */
    private static final Set<String> NOT_CALLED = Set.of("hashCode", "wait", "notify", "exit", "halt", "gc", "run", "join",
            "nanoTime", "currentTimeMillis", "getTimeInMillis", "freeMemory", "totalMemory", "maxMemory", "arriveAndAwaitAdvance",
            "pid", "isDaemon", "getId", "threadId", "activeCount", "availableProcessors", "read", "readLine", "acquire");

    private final Path headers;
    private final Set<String> words = new HashSet<>();
    private final ExecutorService pool = Executors.newCachedThreadPool(task -> {
        Thread thread = new Thread(task);
        thread.setDaemon(true);
        return thread;
    });
    private final StringBuilder includes = new StringBuilder();
    private final StringBuilder functions = new StringBuilder();
    private final StringBuilder calls = new StringBuilder();
    private final StringBuilder declarations = new StringBuilder();
    private final StringBuilder parts = new StringBuilder();
    private int classes;
    private int part;

    private WriteCalls(Path headers) {
        this.headers = headers;
    }

    public static void main(String[] arguments) throws Exception {
        WriteCalls writer = new WriteCalls(Path.of(arguments[0]));
        for (String file : Arrays.asList(arguments).subList(2, arguments.length)) {
            for (String word : Files.readString(Path.of(file)).split("[^A-Za-z0-9_]+")) writer.words.add(word);
        }
        writer.write(Path.of(arguments[1]));
        System.exit(0);
    }

    private void write(Path output) throws Exception {
        List<Path> files;
        try (var all = Files.walk(headers)) {
            files = new ArrayList<>(all.filter(file -> file.toString().endsWith(".hpp")).collect(Collectors.toList()));
        }
        files.sort(Comparator.naturalOrder());
        for (Path file : files) {
            String name = headers.relativize(file).toString().replace('\\', '/').replace(".hpp", "");
            if (name.startsWith("detail/") || name.contains("_")) continue;
            Class<?> type;
            try {
                type = Class.forName(name.replace('/', '.'));
            } catch (Throwable e) {
                continue;
            }
            writeClass(type, name, output);
        }
        endPart(output);
        write(output.resolve("calls.cpp"), declarations + "\nstatic void CallAll(const qvjvm::jvm& java) {\n" + parts
                + "}\n\nint main() { return CallAndTell(CallAll, " + classes + "); }\n");
        System.out.println(classes + " classes");
    }

    /** One file of all would be more than the assembler takes. */
    private void endPart(Path output) throws IOException {
        String name = "CallPart" + ++part;
        write(output.resolve("part" + part + ".cpp"), includes + "\nnamespace {\n" + functions + "}\n\nvoid " + name
                + "(const qvjvm::jvm& java);\nvoid " + name + "(const qvjvm::jvm& java) {\n" + calls + "}\n");
        declarations.append("void ").append(name).append("(const qvjvm::jvm& java);\n");
        parts.append("  ").append(name).append("(java);\n");
        for (StringBuilder text : List.of(includes, functions, calls)) text.setLength(0);
    }

    private static void write(Path file, String text) throws IOException {
        Files.writeString(file, "#include \"tests/bind/written_calls.h\"\n" + text);
    }

    private void writeClass(Class<?> type, String name, Path output) throws IOException {
        String cpp = "::" + name.replace("/", "::");
        List<String> lines = new ArrayList<>();
        constants(type, cpp, lines);
        staticCalls(type, cpp, lines);
        instanceCalls(type, cpp, lines);
        if (lines.isEmpty()) return;
        String function = name.replace('/', '_');
        includes.append("#include \"").append(name).append(".hpp\"\n");
        functions.append("void ").append(function).append("(const qvjvm::jvm& java) {\n  (void)java;\n");
        for (String line : lines) functions.append("  ").append(line).append('\n');
        functions.append("}\n");
        calls.append("  Class(\"").append(name).append("\", [&] { ").append(function).append("(java); });\n");
        ++classes;
        if (classes % CLASSES_OF_A_PART == 0) endPart(output);
    }

    private void constants(Class<?> type, String cpp, List<String> lines) {
        for (Field field : sorted(type.getDeclaredFields())) {
            int modifiers = field.getModifiers();
            if (lines.size() >= 2 || !Modifier.isPublic(modifiers) || !Modifier.isStatic(modifiers)
                    || !Modifier.isFinal(modifiers) || isTaken(type, field.getName())
                    || Arrays.stream(type.getMethods()).anyMatch(m -> m.getName().equals(field.getName()))) continue;
            if (field.isEnumConstant()) {
                lines.add(same(cpp + "::" + field.getName() + "(java).name()", literal(field.getName())));
                continue;
            }
            if (!isPlain(field.getType())) continue;
            Object value = call(() -> field.get(null));
            String literal = literal(value);
            // Constants of the compiler are C++'s, the others are asked for; which is which reflection does not tell.
            if (literal != null) lines.add("SAME_CONSTANT(" + cpp + ", " + field.getName() + ", " + literal + ");");
        }
    }

    private void staticCalls(Class<?> type, String cpp, List<String> lines) {
        int limit = lines.size() + 2;
        for (Method method : sorted(type.getDeclaredMethods())) {
            if (lines.size() >= limit || !isCallable(type, method) || !Modifier.isStatic(method.getModifiers())) continue;
            addSame(lines, cpp + "::" + method.getName() + "(java)", () -> method.invoke(null), () -> method.invoke(null));
        }
    }

    private void instanceCalls(Class<?> type, String cpp, List<String> lines) {
        if (Modifier.isAbstract(type.getModifiers()) || type == java.util.Date.class) return;
        Constructor<?> constructor;
        try {
            constructor = type.getConstructor();
        } catch (NoSuchMethodException | LinkageError e) {
            return;
        }
        Object first = call(constructor::newInstance);
        Object second = call(() -> {
            Thread.sleep(20); // what depends on the time is another then
            return constructor.newInstance();
        });
        if (first == null || second == null) return;
        List<String> found = new ArrayList<>();
        for (Method method : sorted(type.getMethods())) {
            if (found.size() >= MEMBERS_OF_A_CLASS || !isCallable(type, method) || Modifier.isStatic(method.getModifiers())) continue;
            addSame(found, "made." + method.getName() + "()", () -> method.invoke(first), () -> method.invoke(second));
        }
        if (found.isEmpty()) return;
        lines.add("const auto made = " + cpp + "::create(java);");
        lines.addAll(found);
    }

    private boolean isCallable(Class<?> type, Method method) {
        return method.getParameterCount() == 0 && Modifier.isPublic(method.getModifiers())
                && Modifier.isPublic(method.getDeclaringClass().getModifiers()) && isPlain(method.getReturnType())
                && !method.isBridge() && !NOT_CALLED.contains(method.getName())
                && !method.getName().startsWith("next") && !isTaken(type, method.getName());
    }

    private boolean isTaken(Class<?> type, String name) {
        return words.contains(name) || name.equals(type.getSimpleName()) || name.contains("$") || name.contains("__");
    }

    private static boolean isPlain(Class<?> type) {
        return type != void.class && type.isPrimitive() || type == String.class;
    }

    private void addSame(List<String> lines, String call, Callable<Object> one, Callable<Object> other) {
        String first = literal(call(one));
        if (first != null && first.equals(literal(call(other)))) lines.add(same(call, first));
    }

    private static String same(String call, String literal) {
        return "SAME(" + call + ", " + literal + ");";
    }

    /** What a call gives within a second; null when it throws or gives null. */
    private Object call(Callable<Object> what) {
        var result = pool.submit(what);
        try {
            return result.get(1, TimeUnit.SECONDS);
        } catch (ExecutionException | TimeoutException | InterruptedException e) {
            result.cancel(true);
            return null;
        }
    }

    private static String literal(Object value) {
        if (value instanceof Boolean) return value.toString();
        if (value instanceof Byte || value instanceof Short || value instanceof Integer) {
            return "int64_t{" + ((Number) value).longValue() + "}";
        }
        if (value instanceof Long) return "static_cast<int64_t>(" + Long.toUnsignedString((Long) value) + "ULL)";
        if (value instanceof Character) return "int64_t{" + (int) (Character) value + "}";
        if (value instanceof Float || value instanceof Double) {
            double number = ((Number) value).doubleValue();
            return Double.isNaN(number) || Double.isInfinite(number) ? null : "double{" + Double.toHexString(number) + "}";
        }
        if (value instanceof String) {
            String text = (String) value;
            if (text.length() > 500 || !text.chars().allMatch(c -> c >= ' ' && c < 127) || text.contains("@")) return null;
            return "std::wstring(L\"" + text.replace("\\", "\\\\").replace("\"", "\\\"").replace("?", "\\?") + "\")";
        }
        return null;
    }

    private static <T extends java.lang.reflect.Member> List<T> sorted(T[] members) {
        List<T> all = new ArrayList<>(Arrays.asList(members));
        all.sort(Comparator.comparing(T::getName).thenComparing(Object::toString));
        return all;
    }
}
