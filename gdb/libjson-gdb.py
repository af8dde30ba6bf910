# gdb prints values, readers and archivers, with members in the order of
# enumeration, and lists the objects that the bundled object monitor knows:
#
#   (gdb) print *root
#   $1 = JObject of size 2 = {["a"] = 0.50, ["b"] = JArray of length 1 = {true}}
#   (gdb) json-live                 counts the live objects of each tag
#   (gdb) json-live settings.cpp    lists the live objects of tags with this text
#   (gdb) json-trace clone          finds the lines that create objects of tags
#                                   with this text
#
# Printing and json-live only read memory, so they work on a core file.
# json-trace needs a running program. gdb cuts large and deep values: see "help
# set print elements" and "help set print max-depth". All commands need the
# debug information of the libraries.
#
# gdb loads this file with an installed libjson.so.1. .gdbinit must allow a
# prefix other than /usr:
#
#   add-auto-load-scripts-directory PREFIX/share/gdb/auto-load
#   add-auto-load-safe-path PREFIX/share/gdb/auto-load
#
# In a build folder, for the root of another system, or if the installation was
# moved, give "source FILE".

import collections
import re
import struct

import gdb
import gdb.printing

FOUNDATION = 'vorn::foundation::'
JSON = FOUNDATION + 'json::'
MONITOR = FOUNDATION + 'debug::internal::'


# Values ----------------------------------------------------------------------

class Text:
    """A value without children."""

    def __init__(self, text, hint=None):
        self.text = text
        self.hint = hint

    def to_string(self):
        return self.text

    def display_hint(self):
        return self.hint


class Container(Text):
    """A value with children, which gdb reads one at a time."""

    def __init__(self, text, hint, parts):
        super().__init__(text, hint)
        self.parts = parts

    def children(self):
        return iter(self.parts)


# Reads a child before gdb does. So a child that cannot be read ends only its
# container, and not the whole printing.
def pointed_to(pointer, name=None):
    if name is not None:
        pointer = pointer.cast(gdb.lookup_type(JSON + name).pointer())
    value = pointer.dereference()
    value.fetch_lazy()
    return value


def characters_of(string):
    return string['_M_dataplus']['_M_p'], int(string['_M_string_length'])


def text_of(characters, length):
    return Text(characters.lazy_string(length=length), 'string')


# The text of a number or a string. A short text follows an odd byte that holds
# its size; a long text is in a SafeString.
def stored_text(value):
    room = value['text_']
    size = int(room[0])
    if size % 2 == 0:
        string = gdb.lookup_type(FOUNDATION + 'SafeString')
        return characters_of(room.address.cast(string.pointer()).dereference())
    return room[1].address.cast(gdb.lookup_type('char').pointer()), size // 2


# A number, as its text, without quotes.
def number(value):
    characters, length = stored_text(value)
    most = gdb.parameter('print elements') or length
    shown = characters.string('latin-1', length=min(length, most))
    return Text(shown + ('...' if length > most else ''))


def sequence(title, first, length):
    elements = ((f'[{index}]', pointed_to(pointed_to(first + index)))
                for index in range(length))
    return Container(f'{title} of length {length}', 'array', elements)


# The elements of an array. Up to two elements follow an odd word that holds
# their number; more elements are in a block.
def array(value):
    room = pointed_to(value['elements_'].address, 'Elements')
    word = int(room['word_'])
    pointer = gdb.lookup_type(JSON + 'JBase').pointer().pointer()
    if word % 2:
        return sequence('JArray', room['rest_']['inside'].address.cast(pointer),
                        word // 2)
    return sequence('JArray', room['word_'].cast(pointer),
                    int(room['rest_']['block']['size']))


def vector(title, value):
    first = value['_M_impl']['_M_start']
    return sequence(title, first, int(value['_M_impl']['_M_finish'] - first))


# A member, as its key, whose bytes follow it.
def node(value):
    key = (value.address + 1).cast(gdb.lookup_type('char').pointer())
    return Text(key.lazy_string(length=int(value['length_'])), 'string')


def members(title, table, kind):
    size = int(table['count_'])

    def nodes_and_values():
        link = table['head_']
        for index in range(size):
            link = pointed_to(link['next'], 'MemberTable::Node')
            yield f'[{index}].key', link
            yield f'[{index}]', pointed_to(link['value'], kind)

    return Container(f'{title} of size {size}', 'map', nodes_and_values())


def owner(title, name, pointer):
    if not pointer:
        return Text('empty ' + title)
    return Container(title, None, [(name, pointed_to(pointer))])


# A value that is declared as its abstract base, printed as its own class.
def dynamic(value):
    kind = value.dynamic_type
    if kind == value.type:
        gdb.lookup_type(JSON + 'MemberTable')  # fails if no class is known
        return Text('<its class is not known>')
    return printers(value.cast(kind))


class Printers(gdb.printing.RegexpCollectionPrettyPrinter):
    """Prints the reason in place of a value that cannot be read."""

    def __call__(self, value):
        try:
            return super().__call__(value)
        except gdb.MemoryError as error:
            return Text(f'<{error}>')
        except gdb.error as error:
            return Text(f'<no debug information of libjson.so.1: {error}>')
        except (ValueError, OverflowError):
            return Text('<not constructed yet, or destroyed>')

    def add(self, pattern, printer):
        self.add_printer(pattern, f'^{pattern}$', printer)


printers = Printers('vorn-json')
printers.add('std::(__cxx11::)?basic_string<char, std::char_traits<char>, '
             + FOUNDATION + 'debug::Allocator<char> ?>',
             lambda value: text_of(*characters_of(value)))
printers.add(JSON + '(JBase|JTypeBase<.*>|ITypedArchiver)', dynamic)
printers.add(FOUNDATION + 'io::IArchiver', dynamic)
printers.add(JSON + 'JNull', lambda value: Text('null'))
printers.add(JSON + 'JBool', lambda value: Text(str(value['value_'])))
printers.add(JSON + 'JNumber', number)
printers.add(JSON + 'JString', lambda value: text_of(*stored_text(value)))
printers.add(JSON + 'JArray', array)
printers.add(JSON + 'MemberTable::Node', node)
printers.add(JSON + 'JObject', lambda value: members(
    'JObject', pointed_to(value['members_'].address, 'MemberTable'), 'JBase'))
printers.add(JSON + 'JsonReader',
             lambda value: owner('JsonReader', 'tree', value['tree_']))
printers.add(JSON + 'JsonArchiver', lambda value: owner(
    'JsonArchiver', 'root', value['private_']['root_']))
printers.add(JSON + 'GenericArchiver', lambda value: printers(
    value['value_']['object_'].dereference()))
printers.add(JSON + 'ArrayArchiver',
             lambda value: vector('ArrayArchiver', value['elements_']))
printers.add(JSON + 'ObjectArchiver', lambda value: members(
    'ObjectArchiver', value['members_'], 'ITypedArchiver'))
gdb.printing.register_pretty_printer(gdb.current_objfile(), printers, True)


# Live objects ----------------------------------------------------------------

# Looks the name up as a global one: this works also if the program stopped in a
# function of C.
def monitored(name):
    symbol = gdb.lookup_global_symbol(MONITOR + name)
    if symbol is None:
        raise gdb.GdbError('libdebugs.so.1 is not loaded, or without debug '
                           'information, or of another framework.')
    return symbol.value()


# The elements of an array that are not 0, with their indices.
def nonzero(array, size):
    order = '<' if 'little' in gdb.execute('show endian', False, True) else '>'
    memory = gdb.selected_inferior().read_memory(array.address,
                                                 array.type.sizeof)
    elements = struct.iter_unpack(order + {2: 'H', 4: 'I', 8: 'Q'}[size],
                                  memory)
    return ((i, element) for i, (element,) in enumerate(elements) if element)


# The objects that have a slot in the shadow: addresses, each with the number of
# its origin. The lowest bit of a slot is the half of the granule.
def shadowed(node, start, span):
    kind = node.type.strip_typedefs()
    if kind.name.endswith('::Leaf'):
        slots = node['slots']
        half = span * 2 // slots.type.sizeof // 2
        for index, value in nonzero(slots, 2):
            if value >> 1:
                yield start + (2 * index + (value & 1)) * half, value >> 1
        return
    child = kind.template_argument(0).pointer()
    span = 1 << int(kind.template_argument(2))
    for index, pointer in nonzero(node['children'], child.sizeof):
        yield from shadowed(gdb.Value(pointer).cast(child).dereference(),
                            start + index * span, span)


# The nodes of a map, each as its key and a pointer to its value.
def map_nodes(node):
    if node:
        yield from map_nodes(node['_M_left'])
        key = (node + 1).cast(gdb.lookup_type('unsigned long').pointer())
        yield int(key.dereference()), key + 1
        yield from map_nodes(node['_M_right'])


# The addresses of all objects, by the number of their origin and their size.
def live_objects():
    by_number = collections.defaultdict(list)
    for address, number in shadowed(monitored('shadow'), 0, 0):
        by_number[number].append(address)
    objects = collections.defaultdict(list)
    for number, addresses in by_number.items():
        objects[number, int(origin(number)['size'])] = addresses
    strays = monitored('strays')['object_']
    if strays:
        kind = gdb.lookup_type(MONITOR + 'Stray').pointer()
        header = strays['_M_t']['_M_impl']['_M_header']
        for address, stray in map_nodes(header['_M_parent']):
            stray = stray.cast(kind)
            objects[int(stray['number']), int(stray['size'])].append(address)
    return objects


# A null pointer to a class is enough to find its static members.
def origin(number):
    origins = gdb.lookup_type(MONITOR + 'Origins').pointer()
    origins = gdb.Value(0).cast(origins).dereference()
    if number == 0:
        return origins['more_']
    block, index = divmod(number, int(origins['kBlock']))
    return origins['blocks_'][block]['_M_b']['_M_p'][index]


def tag(number):
    found = origin(number)
    return '{}:{} {}'.format(found['file_copy'].string(), int(found['line']),
                             found['function_copy'].string())


# An object without virtual functions does not know its class.
def shown(address):
    base = gdb.lookup_type(FOUNDATION + 'lang::Interface')
    object_ = gdb.Value(address).cast(base.pointer()).dereference()
    kind = object_.dynamic_type
    if kind == base:
        return ''
    return object_.address.cast(kind.pointer()).dereference().format_string(
        max_depth=1, pretty_structs=False)


class Live(gdb.Command):
    """Count the live objects of each tag: file, line and function of the creation.
Usage: json-live [TEXT]

With a text, list only the tags that contain the text, each with its objects."""

    def __init__(self):
        super().__init__('json-live', gdb.COMMAND_DATA)

    def invoke(self, argument, from_tty):
        try:
            self.list(argument)
        except gdb.error as error:
            raise gdb.GdbError(str(error))

    def list(self, text):
        rows = []
        for (number, size), objects in live_objects().items():
            name = tag(number)
            if text in name:
                rows.append((len(objects) * size, name, objects))
        rows.sort(key=lambda row: (-row[0], row[1]))
        print('  objects       bytes  created at')
        for size, name, objects in rows:
            print(f'{len(objects):9} {size:11}  {name}')
            if text:
                self.list_objects(sorted(objects))
        count = sum(len(row[2]) for row in rows)
        print(f'{count:9} {sum(row[0] for row in rows):11}  total')
        unknown = int(monitored('unknown_releases')['sum_']['_M_i'])
        if unknown:
            print(f'releases of unknown objects: {unknown}')

    def list_objects(self, objects):
        most = gdb.parameter('print elements') or len(objects)
        for address in objects[:most]:
            print(f'    {address:#x} {shown(address)}'.rstrip())
        if len(objects) > most:
            print('    ...')


Live()


# Where objects come from -----------------------------------------------------

# Whether the frame is in this library, in the framework's two, or in a header.
def of_the_library(frame):
    name = gdb.solib_name(frame.pc()) or ''
    table = frame.find_sal().symtab
    return bool(re.search(r'/lib(json|foundations|debugs)\.so', name) or
                table is None or '/foundation/' in table.filename)


def caller():
    frame = gdb.newest_frame()
    while frame is not None and of_the_library(frame):
        frame = frame.older()
    if frame is None:
        return 'unknown'
    place = frame.find_sal()
    file = place.symtab.filename.rpartition('/')[2]
    return f'{file}:{place.line} {frame.name()}'


class Watch(gdb.Breakpoint):
    """Passes each call of the monitor to note(), and lets the program continue."""

    def __init__(self, function, note):
        super().__init__(f'{FOUNDATION}debug::ObjectMonitor::{function}',
                         internal=True)
        self.silent = True
        self.note = note

    # A breakpoint may have places that only jump to the function.
    def stop(self):
        frame = gdb.newest_frame()
        if frame.function() is not None:
            self.note(frame)
        return False


class Trace(gdb.Command):
    """Find the lines of the program that create the objects of a tag.
Usage: json-trace [TEXT]

With a text, record from now on every object whose tag contains the text, and the
line of the program that made it. Without a text, or with the same text again,
list these lines with their live objects. Another text starts again."""

    def __init__(self):
        super().__init__('json-trace', gdb.COMMAND_DATA)
        self.text = None
        self.watches = []
        self.objects = {}

    def invoke(self, argument, from_tty):
        if argument and argument != self.text:
            self.start(argument)
        elif self.text is None:
            raise gdb.GdbError('Nothing is traced: give a text of a tag.')
        else:
            self.list()

    def start(self, text):
        monitored('shadow')  # fails if its variables cannot be read
        for watch in self.watches:
            watch.delete()
        self.text = text
        self.objects = {}
        self.watches = [Watch('_IncLeak', self.created)] + [
            Watch(name, self.released) for name in
            ('_DecLeak', '_DecLeakEx', '_DecLeakInfo', '_DecLeakInfoEx')]

    def created(self, frame):
        tag = '{}:{} {}'.format(frame.read_var('file').string(),
                                int(frame.read_var('line')),
                                frame.read_var('function').string())
        address = int(frame.read_var('object'))
        if self.text in tag and address:
            self.objects[address] = caller(), int(frame.read_var('size'))

    def released(self, frame):
        self.objects.pop(int(frame.read_var('object')), None)

    def list(self):
        lines = collections.defaultdict(list)
        for line, size in self.objects.values():
            lines[line].append(size)
        print('  objects       bytes  made by')
        for line, sizes in sorted(lines.items(),
                                  key=lambda item: (-sum(item[1]), item[0])):
            print(f'{len(sizes):9} {sum(sizes):11}  {line}')


Trace()
