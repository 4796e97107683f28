// What Microsoft's library has and mingw's has not: the table of type_info, to which each class's own information points.
class type_info {
 public:
  virtual ~type_info();
};

type_info::~type_info() = default;
