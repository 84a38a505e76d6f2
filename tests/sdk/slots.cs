// Prints the members of _Zentrel as the wrapper for .NET declares them, a line for each slot.
using System;
using System.Linq;
using System.Reflection;
using System.Runtime.InteropServices;

static class Slots {
    static string Identifier(MethodInfo method) {
        MemberInfo declared = method;
        if (method.IsSpecialName)
            declared = method.DeclaringType.GetProperties().Single(property => property.GetAccessors().Contains(method));
        var identifier = (DispIdAttribute)Attribute.GetCustomAttribute(declared, typeof(DispIdAttribute));
        return "0x" + identifier.Value.ToString("X8");
    }

    static string TypeName(Type type) {
        var plain = type.IsByRef ? type.GetElementType() : type;
        return (type.IsByRef ? "ref " : "") + plain.Name;
    }

    static void Main() {
        var interfaces = typeof(QmZentrel._Zentrel);
        foreach (var method in interfaces.GetMethods().OrderBy(method => method.MetadataToken)) {
            var parameters = method.GetParameters().Select(parameter => TypeName(parameter.ParameterType)).ToList();
            if (method.ReturnType != typeof(void)) parameters.Add(TypeName(method.ReturnType));
            Console.WriteLine("{0} {1}({2})", Identifier(method), method.Name.Replace("set_", "put_"),
                              string.Join(", ", parameters));
        }
    }
}
